#include "Rig.hpp"

#include <algorithm>
#include <chrono>
#include <vector>

#include <poll.h>

namespace hearthix::bench {

namespace {

// Small enough that the buffers on both sides stay as small as in everyday use.
constexpr std::size_t kIntroductionChunk = 4096;

using Clock = std::chrono::steady_clock;

double nanosecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

std::vector<std::string_view> sortedLines(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace

Rig::Rig(const Subject& subject, Link link) {
    std::uint16_t hostPort = 0;
    std::uint16_t gatewayPort = 0;
    const Channel hostListener = listenOnLoopback(hostPort);
    const Channel gatewayListener = listenOnLoopback(gatewayPort);
    std::vector<std::string> command{subject.path, "IP", "127.0.0.1", std::to_string(hostPort), "bench"};
    if (link == Link::pseudoTerminal)
        gateway_ = openPseudoTerminal(command[1]);
    else
        command.insert(command.end(), {"127.0.0.1", std::to_string(gatewayPort)});
    process_ = std::make_unique<Process>(command);
    host_ = acceptFrom(hostListener);
    const auto start = Clock::now();
    if (link == Link::tcp)
        gateway_ = acceptFrom(gatewayListener);
    awaitReady(subject.readyMark);
    startNanoseconds_ = nanosecondsSince(start);
}

void Rig::awaitReady(const std::string& mark) {
    std::string heard;
    while (!heard.ends_with(mark)) {
        awaitMovement(false);
        heard += host_.receiveSome();
    }
}

void Rig::awaitMovement(bool wantsRoom) {
    pollfd watch[] = {{host_.descriptor(), POLLIN, 0},
                      {gateway_.descriptor(), static_cast<short>(wantsRoom ? POLLOUT : 0), 0}};
    check(poll(watch, 2, kPatienceSeconds * 1000) > 0, "the program fell silent");
}

void Rig::pump(std::string_view lines, std::size_t chunk,
               const std::function<void(std::string_view)>& receive, const std::function<bool()>& finished) {
    std::size_t rest = chunk; // of the chunk that is being written
    while (!finished()) {
        const std::size_t sent = lines.empty() ? 0 : gateway_.sendSome(lines.substr(0, rest));
        lines.remove_prefix(sent);
        rest = sent < rest ? rest - sent : chunk;
        const std::string_view news = host_.receiveSome();
        if (!news.empty())
            receive(news);
        else if (sent == 0)
            awaitMovement(!lines.empty());
    }
}

void Rig::introduce(const Values& values) {
    const Values marker = markerValue();
    std::string lines(values.lines.first(values.lines.count()));
    lines += marker.lines.first(1);
    std::string tail;
    const std::string_view end = marker.packets.first(1);
    pump(
        lines, kIntroductionChunk,
        [&](std::string_view bytes) {
            tail += bytes;
            tail.erase(0, tail.size() - std::min(tail.size(), end.size()));
        },
        [&] { return tail == end; });
}

void Rig::sendLines(const Values& values, std::size_t count, std::size_t chunk) {
    Comparison packets(values.packets.first(count));
    pump(
        values.lines.first(count), chunk, [&](std::string_view bytes) { packets.take(bytes); },
        [&] { return packets.missing() == 0; });
}

void Rig::sendCommands(const Commands& commands, std::size_t count, std::size_t underWay) {
    const std::string_view expected = commands.lines.first(count);
    Comparison logs(commands.logs.first(count));
    std::string lines;
    std::size_t sent = 0;
    std::size_t done = 0;
    while (lines.size() < expected.size() || logs.missing() > 0) {
        for (; sent < count && sent < done + underWay; ++sent)
            host_.sendInOnePiece(commands.packets.piece(sent));
        pollfd watch[] = {{host_.descriptor(), POLLIN, 0}, {gateway_.descriptor(), POLLIN, 0}};
        check(poll(watch, 2, kPatienceSeconds * 1000) > 0, "the program fell silent");
        if (watch[0].revents != 0)
            logs.take(host_.receiveSome());
        if (watch[1].revents != 0) {
            const std::string_view news = gateway_.receiveSome();
            lines += news;
            done += static_cast<std::size_t>(std::count(news.begin(), news.end(), '\n'));
        }
    }
    // The driver logs a command before it sends its line, and looks for the next command as it logs.
    check(sortedLines(lines) == sortedLines(expected), "the program sends other lines than it must");
}

double Rig::sendLine(const Values& values, std::size_t index) {
    const auto start = Clock::now();
    gateway_.sendInOnePiece(values.lines.piece(index));
    host_.receiveExactly(values.packets.piece(index));
    return nanosecondsSince(start);
}

double Rig::sendCommand(const Commands& commands, std::size_t index) {
    const auto start = Clock::now();
    host_.sendInOnePiece(commands.packets.piece(index));
    gateway_.receiveExactly(commands.lines.piece(index));
    const double latency = nanosecondsSince(start);
    host_.receiveExactly(commands.logs.piece(index));
    return latency;
}

} // namespace hearthix::bench
