// What goes in at one end of the program under measurement and must come out at the other, byte by byte.
//
// All values are numbers of variable type 0, so that the driver and the relay answer alike: a line from the
// gateway yields one value packet at the host; a command from the host yields one line at the gateway and one
// log packet at the host.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace hearthix::bench {

// Pieces of bytes one behind the other.
class Stream {
public:
    void add(std::string_view piece);
    std::size_t count() const noexcept { return ends_.size(); }
    std::string_view piece(std::size_t index) const;
    std::string_view first(std::size_t count) const;

private:
    std::string bytes_;
    std::vector<std::size_t> ends_;
};

inline constexpr std::size_t kMostEndpoints = 255 * 255;

struct Values {
    Stream lines;   // from the gateway
    Stream packets; // to the host
};
// Random values of endpoints visited at random, the same ones in every run.
Values randomValues(std::size_t endpoints, std::size_t count);
// A value of each endpoint in turn, round and round.
Values valuesInTurn(std::size_t endpoints, std::size_t count);
// One value that occurs in none of the above.
Values markerValue();

struct Commands {
    Stream packets; // from the host
    Stream lines;   // to the gateway
    Stream logs;    // to the host
};
Commands randomCommands(std::size_t endpoints, std::size_t count);

} // namespace hearthix::bench
