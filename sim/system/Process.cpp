#include "sim/system/Process.hpp"

#include <csignal>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix {

int Process::start(const std::vector<std::string>& words, int output, int errors) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string& word : words)
        pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, errors, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    for (const int each : {SIGPIPE, SIGXFSZ, SIGINT, SIGTERM})
        sigaddset(&signals, each);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    const int error = posix_spawnp(&id_, pointers[0], &files, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0)
        id_ = 0;
    return error;
}

void Process::signal(int number) const {
    if (id_ > 0)
        kill(id_, number);
}

std::optional<int> Process::wait(std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds kPause{10};
    int state = 0;
    for (auto waited = kPause; id_ > 0 && waitpid(id_, &state, WNOHANG) == 0; waited += kPause) {
        if (waited > limit)
            return {};
        std::this_thread::sleep_for(kPause);
    }
    id_ = 0;
    return WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
}

void Process::stop(std::chrono::milliseconds limit) {
    signal(SIGTERM);
    if (wait(limit))
        return;
    signal(SIGKILL);
    waitpid(id_, nullptr, 0);
    id_ = 0;
}

} // namespace hearthix
