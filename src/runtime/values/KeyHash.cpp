#include "runtime/values/KeyHash.hpp"

#include "runtime/values/Clock.hpp"

#include <bit>
#include <cstring>

#include <sys/random.h>

namespace hearthix {

namespace {

struct Secret {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
};

// Without waiting: at a machine's start there may be no random numbers yet, and the time is better than none.
Secret draw() {
    Secret drawn;
    if (getrandom(&drawn, sizeof drawn, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof drawn))
        drawn.first = static_cast<std::uint64_t>(clocks::monotonic());
    return drawn;
}

const Secret& secret() noexcept {
    static const Secret kSecret = draw();
    return kSecret;
}

class SipHash {
public:
    explicit SipHash(const Secret& key) noexcept
        : a_(key.first ^ 0x736f6d6570736575U), b_(key.second ^ 0x646f72616e646f6dU),
          c_(key.first ^ 0x6c7967656e657261U), d_(key.second ^ 0x7465646279746573U) {}
    void take(std::uint64_t word) noexcept {
        d_ ^= word;
        mix();
        a_ ^= word;
    }
    std::uint32_t result() noexcept {
        c_ ^= 0xFFU;
        for (int i = 0; i < 3; ++i)
            mix();
        return static_cast<std::uint32_t>(a_ ^ b_ ^ c_ ^ d_);
    }

private:
    void mix() noexcept {
        a_ += b_, b_ = std::rotl(b_, 13) ^ a_, a_ = std::rotl(a_, 32);
        c_ += d_, d_ = std::rotl(d_, 16) ^ c_;
        a_ += d_, d_ = std::rotl(d_, 21) ^ a_;
        c_ += b_, b_ = std::rotl(b_, 17) ^ c_, c_ = std::rotl(c_, 32);
    }

    std::uint64_t a_, b_, c_, d_;
};

// Makes small letters of the capitals among eight bytes.
std::uint64_t lowered(std::uint64_t bytes) noexcept {
    constexpr std::uint64_t kEach = 0x0101010101010101U;
    const std::uint64_t low = bytes & (0x7FU * kEach);
    const std::uint64_t fromA = low + (0x80U - 'A') * kEach;      // the top bit: "A" or above
    const std::uint64_t aboveZ = low + (0x80U - 'Z' - 1) * kEach; // the top bit: above "Z"
    const std::uint64_t capitals = fromA & ~aboveZ & ~bytes & (0x80U * kEach);
    return bytes | capitals >> 2U;
}

} // namespace

std::uint32_t hashIgnoringCase(std::string_view text) noexcept {
    SipHash hash(secret());
    std::uint64_t word = 0;
    for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
        std::memcpy(&word, text.data(), sizeof word);
        hash.take(lowered(word));
    }
    // The bytes that are left, and how many there are, which no such byte can stand for.
    word = text.size() << 56U;
    for (std::size_t i = 0; i < text.size(); ++i)
        word |= static_cast<std::uint64_t>(static_cast<unsigned char>(text[i])) << (8 * i);
    hash.take(lowered(word));
    return hash.result();
}

std::uint32_t hashOfNumber(Integer number) noexcept {
    std::uint64_t hash = static_cast<std::uint64_t>(number) ^ secret().first;
    for (const std::uint64_t factor : {0xFF51AFD7ED558CCDU, 0xC4CEB9FE1A85EC53U}) {
        hash ^= hash >> 33U;
        hash *= factor;
    }
    return static_cast<std::uint32_t>(hash >> 32U);
}

} // namespace hearthix
