#include "bench/Rig.hpp"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

namespace hearthix::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kChildren = 255; // 0 to 254; child 255 is the node itself
constexpr std::chrono::milliseconds kUntilAsleep(3);

std::string lineFor(std::size_t endpoint, const std::string& value) {
    return std::to_string(endpoint / kChildren + 1) + ";" + std::to_string(endpoint % kChildren) + ";1;0;0;" +
           value;
}

std::string addressOf(std::size_t endpoint) {
    char text[40];
    std::snprintf(text, sizeof text, "%02zX%02zX.TEMP", endpoint / kChildren + 1, endpoint % kChildren);
    return text;
}

// The number of bytes that a call of send or recv has moved.
std::size_t moved(ssize_t result) {
    if (result == 0 || (result < 0 && errno != EAGAIN))
        throw std::runtime_error("the program has closed a connection");
    return result > 0 ? static_cast<std::size_t>(result) : 0;
}

void receiveSome(int descriptor, std::string_view& expected) {
    static char buffer[1 << 20];
    const std::string_view got(buffer, moved(recv(descriptor, buffer, sizeof buffer, 0)));
    if (!expected.starts_with(got))
        throw std::runtime_error("the program has sent wrong bytes");
    expected.remove_prefix(got.size());
}

// Writes the input in chunks as fast as they are accepted, and reads the expected bytes meanwhile. Returns
// microseconds.
double transfer(int from, std::string_view input, std::size_t chunk, int to, std::string_view expected) {
    const auto start = Clock::now();
    std::size_t rest = chunk; // unwritten bytes of the current chunk
    while (!expected.empty()) {
        const std::size_t before = input.size() + expected.size();
        const std::string_view part = input.substr(0, rest);
        const std::size_t sent = part.empty() ? 0 : moved(send(from, part.data(), part.size(), MSG_NOSIGNAL));
        input.remove_prefix(sent);
        rest = sent < rest ? rest - sent : chunk;
        receiveSome(to, expected);
        pollfd watch[] = {{to, POLLIN, 0}, {from, static_cast<short>(input.empty() ? 0 : POLLOUT), 0}};
        if (input.size() + expected.size() == before && poll(watch, 2, 60'000) <= 0)
            throw std::runtime_error("the program did not answer");
    }
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

} // namespace

Workload::Workload(std::size_t endpoints, std::size_t count) {
    std::mt19937 random;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t endpoint = random() % endpoints;
        const std::string value = std::to_string(10 + random() % 30) + "." + std::to_string(random() % 10);
        const std::string line = lineFor(endpoint, value), address = addressOf(endpoint);
        lines.add(line + "\n");
        values.add(test::setValue(address, value).bytes);
        commands.add(test::multipacket({{"addr", address}, {"mcmd", "SetValue"}, {"Valu", value}}));
        logs.add(test::log("outgoing command (" + line + ")").bytes);
    }
}

Rig::Rig(const std::string& program, std::size_t endpoints)
    : program_({program, "IP", "127.0.0.1", host_.port(), "bench", "127.0.0.1", gateway_.port()}) {
    useProcessor(Processor::first, program_.id());
    host_.accept();
    const auto start = Clock::now();
    gateway_.accept();
    if (host_.next() != test::readyText())
        throw std::runtime_error("the program did not become ready");
    startMilliseconds_ = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    std::string lines; // in small chunks, so that the buffers of the program stay as small as in everyday use
    for (std::size_t i = 0; i < endpoints; ++i) {
        lines += lineFor(i, "20.5") + "\n";
        if (i % 100 != 0 && i + 1 != endpoints)
            continue;
        gateway_.say(std::exchange(lines, {}));
        host_.until(test::setValue(addressOf(i), "20.5"));
    }
}

void Rig::sendLines(const Workload& workload, std::size_t chunk) {
    transfer(gateway_.descriptor(), workload.lines.bytes, chunk, host_.descriptor(), workload.values.bytes);
}

double Rig::sendLine(const Workload& workload, std::size_t index) {
    return transfer(gateway_.descriptor(), workload.lines.at(index), SIZE_MAX, host_.descriptor(),
                    workload.values.at(index));
}

double Rig::sendCommand(const Workload& workload, std::size_t index) {
    const double microseconds = transfer(host_.descriptor(), workload.commands.at(index), SIZE_MAX,
                                         gateway_.descriptor(), workload.lines.at(index));
    transfer(gateway_.descriptor(), {}, 0, host_.descriptor(), workload.logs.at(index));
    return microseconds;
}

double Rig::cpu() const {
    std::this_thread::sleep_for(kUntilAsleep);
    return static_cast<double>(program_.processorTime().count());
}

double Rig::statusNumber(const std::string& label) const {
    std::ifstream status("/proc/" + std::to_string(program_.id()) + "/status");
    double number = 0;
    for (std::string word; status >> word;)
        if (word == label)
            status >> number;
    return number;
}

double Rig::systemCallsDuring(const std::function<void()>& work) const {
    test::Program strace({"strace", "-qq", "-c", "-p", std::to_string(program_.id())});
    for (int turns = 0; turns < 200 && statusNumber("TracerPid:") == 0; ++turns)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (statusNumber("TracerPid:") == 0)
        return kNone;
    work();
    strace.signal(SIGINT);
    const std::string report = strace.end().errors;
    // The last line contains the percentage of the time, seconds, microseconds per call, calls, errors and
    // "total".
    double calls = kNone;
    std::sscanf(report.substr(report.rfind("100.00")).c_str(), "%*f %*f %*f %lf",
                &calls); // NOLINT(cert-err34-c)
    return calls;
}

void useProcessor(Processor which, pid_t process) {
    static const std::size_t last = std::thread::hardware_concurrency() - 1;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(which == Processor::first ? 0 : last, &set);
    if (sched_setaffinity(process, sizeof set, &set) != 0)
        throw std::runtime_error("cannot pin a process to a processor");
}

} // namespace hearthix::bench
