#include "runtime/values/KeyHash.hpp"

#include "runtime/values/Clock.hpp"

#include <bit>
#include <utility>

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

class SipHash {
public:
    SipHash() noexcept {
        static const Secret kSecret = draw();
        a_ ^= kSecret.first, b_ ^= kSecret.second, c_ ^= kSecret.first, d_ ^= kSecret.second;
    }
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

    std::uint64_t a_ = 0x736f6d6570736575U;
    std::uint64_t b_ = 0x646f72616e646f6dU;
    std::uint64_t c_ = 0x6c7967656e657261U;
    std::uint64_t d_ = 0x7465646279746573U;
};

} // namespace

std::uint32_t hashIgnoringCase(std::string_view text) noexcept {
    SipHash hash;
    std::uint64_t word = 0;
    std::size_t held = 0;
    for (const char letter : text) {
        const auto small =
            static_cast<unsigned char>(letter >= 'A' && letter <= 'Z' ? letter | 0x20 : letter);
        word = word << 8U | small;
        if (++held % sizeof word == 0)
            hash.take(std::exchange(word, 0));
    }
    hash.take(word | std::uint64_t{text.size()} << 56U);
    return hash.result();
}

std::uint32_t hashOfNumber(Integer number) noexcept {
    SipHash hash;
    hash.take(static_cast<std::uint64_t>(number));
    return hash.result();
}

} // namespace hearthix
