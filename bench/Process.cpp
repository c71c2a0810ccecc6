#include "Process.hpp"

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix::bench {

namespace {

// Long enough to send off what is left and to go to sleep.
constexpr std::chrono::milliseconds kSettle(3);

[[noreturn]] void becomeProgram(std::vector<std::string>& command) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nowhere, standard);
    std::vector<char*> arguments;
    for (std::string& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
}

void pin(pid_t process, int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(cpu), &set);
    if (sched_setaffinity(process, sizeof set, &set) != 0)
        throw std::runtime_error("cannot pin a process to a processor");
}

// The number behind a label in a file of /proc.
double labelled(const std::string& text, const std::string& label) {
    const std::size_t at = text.find(label);
    if (at == std::string::npos)
        throw std::runtime_error("/proc tells no " + label);
    return std::stod(text.substr(at + label.size()));
}

} // namespace

Process::Process(std::vector<std::string> command) {
    id_ = fork();
    if (id_ < 0)
        throw std::runtime_error("cannot start another process");
    if (id_ == 0)
        becomeProgram(command);
}

Process::~Process() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
}

void Process::pinTo(int cpu) const {
    pin(id_, cpu);
}

double Process::cpuNanoseconds() const {
    std::this_thread::sleep_for(kSettle);
    return labelled(procFile("schedstat"), "");
}

double Process::voluntarySwitches() const {
    return labelled(procFile("status"), "\nvoluntary_ctxt_switches:");
}

double Process::residentBytes() const {
    return labelled(procFile("smaps_rollup"), "\nRss:") * 1024;
}

std::string Process::procFile(const char* name) const {
    std::ifstream file("/proc/" + std::to_string(id_) + "/" + name);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (text.empty())
        throw std::runtime_error(std::string("cannot read a process's ") + name + " below /proc");
    return text;
}

std::vector<int> usableCpus() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        if (CPU_ISSET(static_cast<std::size_t>(cpu), &set))
            cpus.push_back(cpu);
    return cpus;
}

void pinSelfTo(int cpu) {
    pin(0, cpu);
}

} // namespace hearthix::bench
