// One end of a connection to the program under measurement: a TCP socket, or the master of a pseudo-terminal.
//
// Nothing waits longer than ten seconds. Throws std::runtime_error when the peer has hung up.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace hearthix::bench {

inline constexpr int kPatienceSeconds = 10;

class Channel {
public:
    Channel() = default;
    Channel(int descriptor, bool isSocket) noexcept : descriptor_(descriptor), isSocket_(isSocket) {}
    Channel(Channel&& other) noexcept { *this = static_cast<Channel&&>(other); }
    Channel& operator=(Channel&& other) noexcept;
    ~Channel();

    int descriptor() const noexcept { return descriptor_; }
    // As many bytes as are taken at once; 0 when there is no room.
    std::size_t sendSome(std::string_view bytes) const;
    void sendInOnePiece(std::string_view bytes) const;
    // What has come, valid until the next call of any channel; empty when there is nothing.
    std::string_view receiveSome() const;
    // Waits for just these bytes.
    void receiveExactly(std::string_view expected) const;

private:
    std::string_view receive(bool wait) const;

    int descriptor_ = -1;
    bool isSocket_ = true;
};

// A socket on the loopback interface that listens on a port of the system's choice.
Channel listenOnLoopback(std::uint16_t& port);
Channel acceptFrom(const Channel& listener);
// The master of a new pseudo-terminal.
Channel openPseudoTerminal(std::string& path);

// Compares what comes with what must come.
class Comparison {
public:
    explicit Comparison(std::string_view expected) noexcept : rest_(expected) {}
    // Throws std::runtime_error when these are not the next bytes.
    void take(std::string_view bytes);
    std::size_t missing() const noexcept { return rest_.size(); }

private:
    std::string_view rest_;
};

void check(bool good, const char* complaint);

} // namespace hearthix::bench
