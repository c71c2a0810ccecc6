#include "sim/system/ChildProcess.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <string>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr int kPatienceMilliseconds = 2000;
constexpr int kReapMilliseconds = 10;

int exitStatusOf(int state) {
    return WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state);
}

// The error number, 0 when the program runs.
int spawn(const std::vector<std::string>& words, int output, pid_t& pid) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string& word : words)
        pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, output, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    for (const int ignored : {SIGPIPE, SIGXFSZ})
        sigaddset(&signals, ignored);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    const int error = posix_spawnp(&pid, pointers[0], &files, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

} // namespace

bool ChildProcess::Start(const String& path, const std::vector<String>& arguments) {
    Stop();
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        setLastError(systemError());
        return false;
    }
    std::vector<std::string> words{std::string(path.view())};
    for (const String& argument : arguments)
        words.emplace_back(argument.view());
    const int error = spawn(words, ends[1], pid_);
    ::close(ends[1]);
    if (error != 0) {
        ::close(ends[0]);
        pid_ = -1;
        setLastError({error, std::system_category()});
        return false;
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    attach(ends[0]);
    return true;
}

void ChildProcess::Stop() {
    Close();
    reaper_.setMode(Timer::kModeOff);
    if (pid_ <= 0)
        return;
    kill(pid_, SIGTERM);
    const clocks::Nanoseconds limit = clocks::monotonic() + kPatienceMilliseconds * clocks::kMillisecond;
    pid_t gone = 0;
    while ((gone = waitpid(pid_, nullptr, WNOHANG)) == 0 && clocks::monotonic() < limit)
        clocks::sleep(kReapMilliseconds * clocks::kMillisecond);
    if (gone == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    pid_ = -1;
    partialLine_ = String();
}

void ChildProcess::Kill() const {
    if (isRunning())
        kill(pid_, SIGKILL);
}

ssize_t ChildProcess::receive(char* bytes, std::size_t count) {
    return read(descriptor(), bytes, count);
}

ssize_t ChildProcess::transmit(const char*, std::size_t) {
    errno = EBADF;
    return -1;
}

void ChildProcess::dataArrived() {
    Integer from = LenB(partialLine_) + 1; // what was held has no line feed
    partialLine_ += ReadAll();
    while (const Integer end = InStrB(from, partialLine_, "\n")) {
        const String line = LeftB(partialLine_, end - 1);
        partialLine_ = MidB(partialLine_, end + 1);
        from = 1;
        if (printed)
            printed(Trim(line));
    }
}

void ChildProcess::failed() {
    const String rest = Trim(std::exchange(partialLine_, String()));
    if (!rest.empty() && printed)
        printed(rest);
    reap();
}

void ChildProcess::reap() {
    int state = 0;
    if (pid_ <= 0)
        return;
    if (waitpid(pid_, &state, WNOHANG) == 0) {
        reaper_.setPeriod(kReapMilliseconds);
        reaper_.setMode(Timer::kModeSingle);
        return;
    }
    pid_ = -1;
    if (ended)
        ended(exitStatusOf(state));
}

String ownExecutable() {
    std::array<char, PATH_MAX> path;
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? String(std::string_view(path.data(), static_cast<std::size_t>(length))) : String();
}

} // namespace hearthix
