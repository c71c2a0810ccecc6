#include "tests/support/DriverProcess.hpp"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <sys/mman.h>

namespace hearthix::test {

namespace {

std::string contentOf(const Descriptor& file) {
    std::ifstream stream("/proc/self/fd/" + std::to_string(file.get()), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
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
    const char* emulated =
        std::getenv("HEARTHIX_FAULTS"); // the variable that loads it into an emulated driver
    settings.insert(settings.begin(),
                    {"env", emulated != nullptr ? emulated : std::string("LD_PRELOAD=") + HEARTHIX_FAULTS,
                     "ASAN_OPTIONS=verify_asan_link_order=0"});
    return settings;
}

DriverProcess::DriverProcess(const std::vector<std::string>& arguments, std::vector<std::string> wrapper)
    : Program(behind(std::move(wrapper), arguments)) {
}

Program::Program(const std::vector<std::string>& words)
    : output_(memfd_create("output", MFD_CLOEXEC)), errors_(memfd_create("errors", MFD_CLOEXEC)) {
    if (process_.start(words, output_.get(), errors_.get()) != 0)
        throw std::runtime_error("cannot start " + words[0]);
}

Program::~Program() {
    process_.stop(kPatience); // a driver built for coverage writes its counts before it ends
}

Ending Program::end() {
    const std::optional<int> status = process_.wait(kPatience);
    if (!status)
        throw std::runtime_error("the program does not end");
    return {*status, contentOf(output_), contentOf(errors_)};
}

std::chrono::nanoseconds Program::processorTime() const {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(id(), &clock) != 0 || clock_gettime(clock, &used) != 0)
        throw std::runtime_error("the program has ended");
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

std::size_t Program::residentBytes() const {
    std::ifstream pages("/proc/" + std::to_string(id()) + "/smaps_rollup");
    std::size_t kibibytes = 0;
    for (std::string word; pages >> word;)
        if (word == "Rss:")
            pages >> kibibytes;
    return kibibytes * 1024;
}

} // namespace hearthix::test
