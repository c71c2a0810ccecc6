#include "tests/support/DriverProcess.hpp"

#include <array>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix::test {

namespace {

Descriptor openOutput(Output output) {
    if (output == Output::full)
        return Descriptor(open("/dev/full", O_WRONLY | O_CLOEXEC));
    if (output != Output::brokenPipe)
        return Descriptor(memfd_create("output", MFD_CLOEXEC));
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) == 0)
        close(ends[0]);
    return Descriptor(ends[1]);
}

std::string contentOf(const Descriptor& file) {
    std::string content;
    std::array<char, 65536> bytes{};
    ssize_t count = 0;
    while ((count = pread(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(content.size()))) > 0)
        content.append(bytes.data(), static_cast<std::size_t>(count));
    return content;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The driver's command line behind the wrapper's.
std::vector<std::string> behind(std::vector<std::string> words, const std::vector<std::string>& arguments) {
    words.emplace_back(isForeignDriver() ? std::getenv("HEARTHIX_DRIVER") : HEARTHIX_DRIVER);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

} // namespace

bool isForeignDriver() {
    return std::getenv("HEARTHIX_DRIVER") != nullptr;
}

DriverProcess::DriverProcess(const std::vector<std::string>& arguments, Output output,
                             const std::string& timeZone, std::vector<std::string> wrapper)
    : Program(behind(std::move(wrapper), arguments), output, timeZone) {
}

Program::Program(std::vector<std::string> words, Output output, const std::string& timeZone)
    : output_(openOutput(output)), errors_(memfd_create("errors", MFD_CLOEXEC)) {
    std::vector<std::string> environment{"TZ=" + timeZone};
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (std::string_view(*entry).substr(0, 3) != "TZ=")
            environment.emplace_back(*entry);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output == Output::closed) {
        posix_spawn_file_actions_addclose(&actions, STDIN_FILENO);
        posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
    } else
        posix_spawn_file_actions_adddup2(&actions, output_.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_.get(), STDERR_FILENO);
    const int error = posix_spawnp(&pid_, words[0].c_str(), &actions, nullptr, pointersTo(words).data(),
                                   pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot start " + words[0]);
    handle_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
}

Program::~Program() {
    if (pid_ == 0)
        return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool Program::endsWithin(std::chrono::milliseconds limit) const {
    pollfd watch{handle_.get(), POLLIN, 0};
    return poll(&watch, 1, static_cast<int>(limit.count())) > 0;
}

Ending Program::end() {
    if (!endsWithin(kPatience))
        throw std::runtime_error("the driver doesn't end");
    int status = 0;
    waitpid(std::exchange(pid_, 0), &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentOf(output_),
            contentOf(errors_)};
}

void Program::signal(int number) const {
    kill(pid_, number);
}

std::chrono::nanoseconds Program::processorTime() const {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(pid_, &clock) != 0 || clock_gettime(clock, &used) != 0)
        throw std::runtime_error("the driver is gone");
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

std::size_t Program::residentBytes() const {
    std::ifstream pages("/proc/" + std::to_string(pid_) + "/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    pages >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace hearthix::test
