#include "tests/support/DriverProcess.hpp"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix::test {

namespace {

std::string contentOf(const Descriptor& file) {
    std::ifstream stream("/proc/self/fd/" + std::to_string(file.get()), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
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

std::vector<std::string> withFaults(std::vector<std::string> settings) {
    settings.insert(settings.begin(), {"env", std::string("LD_PRELOAD=") + HEARTHIX_FAULTS,
                                       "ASAN_OPTIONS=verify_asan_link_order=0"});
    return settings;
}

DriverProcess::DriverProcess(const std::vector<std::string>& arguments, std::vector<std::string> wrapper)
    : Program(behind(std::move(wrapper), arguments)) {
}

Program::Program(std::vector<std::string> words)
    : output_(memfd_create("output", MFD_CLOEXEC)), errors_(memfd_create("errors", MFD_CLOEXEC)) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output_.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_.get(), STDERR_FILENO);
    const int error =
        posix_spawnp(&pid_, words[0].c_str(), &actions, nullptr, pointersTo(words).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot start " + words[0]);
}

Program::~Program() {
    if (pid_ == 0)
        return;
    try {
        kill(pid_, SIGTERM); // a driver built for coverage leaves its counts behind
        end();
    } catch (const std::runtime_error&) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

Ending Program::end() {
    constexpr std::chrono::milliseconds kPause{10};
    int status = 0;
    for (auto waited = kPause; waitpid(pid_, &status, WNOHANG) == 0; waited += kPause) {
        if (waited > kPatience)
            throw std::runtime_error("the driver doesn't end");
        std::this_thread::sleep_for(kPause);
    }
    pid_ = 0;
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
