#include "sim/inspect/RadioLog.hpp"

#include "runtime/text/Numbers.hpp"

#include <algorithm>
#include <array>

namespace hearthix::sim {

namespace {

using Kind = RadioEvent::Kind;

constexpr Integer kGateway = 0;

struct Pattern {
    bool isError; // begins with "!"
    std::string_view start;
    Kind kind;
};

// MySensors 2.0 and 2.1 write "TSP" instead of "TSF" and "TSM". The first matching pattern counts.
constexpr std::array kPatterns{Pattern{true, "TSM:INIT", Kind::radioFailed},
                               Pattern{true, "TSP:INIT", Kind::radioFailed},
                               Pattern{false, "TSM:FAIL:CNT", Kind::radioFailed},
                               Pattern{true, "TSM:FPAR:FAIL", Kind::parentLost},
                               Pattern{true, "TSM:FPAR:NO REPLY", Kind::parentLost},
                               Pattern{true, "TSM:UPL:FAIL", Kind::parentLost},
                               Pattern{true, "TSM:READY:UPL FAIL", Kind::parentLost},
                               Pattern{true, "TSP:FPAR:FAIL", Kind::parentLost},
                               Pattern{true, "TSP:CHKUPL:FAIL", Kind::parentLost},
                               Pattern{false, "TSF:MSG:READ", Kind::received},
                               Pattern{false, "TSP:MSG:READ", Kind::received},
                               Pattern{false, "TSF:MSG:SEND", Kind::sent},
                               Pattern{false, "TSP:MSG:SEND", Kind::sent},
                               Pattern{true, "TSF:MSG:SEND", Kind::failed},
                               Pattern{true, "TSP:MSG:SEND", Kind::failed},
                               Pattern{false, "TSF:MSG:FPAR REQ", Kind::search},
                               Pattern{false, "TSP:MSG:FPAR REQ", Kind::search}};

// A route is "SENDER-LAST-NEXT-DESTINATION". The transmission is from LAST to NEXT. Returns the one of these
// that is not the gateway.
Integer otherEnd(std::string_view route) {
    std::array<Integer, 4> stops{};
    for (Integer& stop : stops) {
        stop = takeDigits(route);
        route.remove_prefix(route.starts_with('-') ? 1 : 0);
    }
    return stops[2] == kGateway ? stops[1] : stops[2];
}

} // namespace

RadioEvent radioEventOf(std::string_view text) {
    // In some versions the text begins with the milliseconds since the start.
    std::string_view rest = text;
    takeDigits(rest);
    if (rest.size() < text.size() && rest.starts_with(' '))
        text = rest.substr(1);
    const bool isError = text.starts_with('!');
    text.remove_prefix(isError ? 1 : 0);
    if (!text.starts_with("TSF:") && !text.starts_with("TSM:") && !text.starts_with("TSP:"))
        return {};
    for (const Pattern& each : kPatterns) {
        if (each.isError != isError || !text.starts_with(each.start))
            continue;
        if (each.kind != Kind::search)
            return {each.kind, otherEnd(text.substr(std::min(each.start.size() + 1, text.size())))};
        std::string_view id = text.substr(std::min(text.rfind('='), text.size() - 1) + 1);
        return {each.kind, takeDigits(id)};
    }
    return {Kind::unknown};
}

} // namespace hearthix::sim
