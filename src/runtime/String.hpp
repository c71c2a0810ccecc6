// String: a value that holds any bytes, NUL included, with an optional encoding tag.
//
// The runtime's one clever place. Up to 23 bytes (on 64-bit machines) stand inside the object itself. Longer
// texts share an immutable block: copying and cutting cost a count and two words, whatever the length, so
// that "take the packet, keep the rest" is linear over a whole stream. A string whose bytes end where the
// used part of its block ends may grow in place; all others see only bytes that never change again.
//
// A cut keeps the whole block alive. Who stores a short cut of long data for good calls compact() first.
#pragma once

#include "runtime/Encoding.hpp"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace hearthix {

using Integer = std::int64_t;

class String {
public:
    String() noexcept { clear(); }
    // Program text: tagged as UTF-8.
    String(const char* text) : String(std::string_view(text), TextEncoding::utf8) {}
    explicit String(std::string_view bytes, TextEncoding encoding = TextEncoding::none);
    String(const String& other) noexcept { shareFrom(other); }
    String(String&& other) noexcept { takeFrom(other); }
    ~String() { drop(); }
    String& operator=(const String& other) noexcept {
        if (this != &other) {
            drop();
            shareFrom(other);
        }
        return *this;
    }
    String& operator=(String&& other) noexcept {
        if (this != &other) {
            drop();
            takeFrom(other);
        }
        return *this;
    }

    const char* data() const noexcept { return isInline() ? smallBytes() : large().begin; }
    std::size_t size() const noexcept { return isInline() ? smallSize() : large().size(); }
    bool empty() const noexcept { return size() == 0; }
    std::string_view view() const noexcept {
        if (isInline())
            return {smallBytes(), smallSize()};
        const Large shared = large();
        return {shared.begin, shared.size()};
    }
    operator std::string_view() const noexcept { return view(); }
    unsigned char byteAt(std::size_t offset) const noexcept {
        const std::string_view bytes = view();
        return offset < bytes.size() ? static_cast<unsigned char>(bytes[offset]) : std::uint8_t{0};
    }

    TextEncoding encoding() const noexcept {
        return static_cast<TextEncoding>((meta() >> kEncodingShift) & 3U);
    }
    void setEncoding(TextEncoding encoding) noexcept;

    // The bytes from offset on, at most count of them; a range past the end yields what is there.
    String cut(std::size_t offset, std::size_t count = SIZE_MAX) const;
    // Appends bytes; amortised constant cost a byte. The tag stays as it is.
    String& append(std::string_view bytes);
    // Appends a string as concatenation does: equal tags stay, an empty side yields to the other, else none.
    String& operator+=(const String& other);
    // Makes room so that appends up to this many bytes in all need no further allocation.
    void reserve(std::size_t capacity);
    // Overwrites bytes inside the text; the range must lie in it. Others that share the block keep theirs.
    void replaceBytes(std::size_t offset, std::string_view bytes);
    // Lets go of a block that is much larger than the text.
    void compact();

    friend String operator+(const String& left, const String& right);
    // Equality of strings ignores the case of ASCII letters, and tags.
    friend bool operator==(const String& left, const String& right) noexcept;

private:
    struct Block;
    struct Large {
        Block* block;
        const char* begin;
        std::uint32_t sizeLow;
        std::uint16_t sizeMiddle;
        std::uint8_t sizeHigh;
        std::uint8_t meta;

        std::size_t size() const noexcept {
            return static_cast<std::size_t>((std::uint64_t{sizeHigh} << 48U) |
                                            (std::uint64_t{sizeMiddle} << 32U) | sizeLow);
        }
    };
    static constexpr std::size_t kSmallCapacity = sizeof(Large) - 1;
    // The last byte of either form. Bit 7: shared block; bits 5 and 6: encoding; bits 0 to 4: a small text's
    // size.
    static constexpr std::uint8_t kLargeBit = 0x80;
    static constexpr unsigned kEncodingShift = 5;
    static constexpr std::uint8_t kEncodingMask = 0x60;
    static constexpr std::uint8_t kSmallSizeMask = 0x1F;
    static_assert(kSmallCapacity <= kSmallSizeMask);

    static std::uint8_t encodingBits(TextEncoding encoding) noexcept {
        return static_cast<std::uint8_t>(static_cast<unsigned>(encoding) << kEncodingShift);
    }
    std::uint8_t meta() const noexcept { return raw_[kSmallCapacity]; }
    bool isInline() const noexcept { return (meta() & kLargeBit) == 0; }
    const char* smallBytes() const noexcept { return reinterpret_cast<const char*>(raw_); }
    std::size_t smallSize() const noexcept { return meta() & kSmallSizeMask; }
    Large large() const noexcept {
        Large shared;
        std::memcpy(&shared, raw_, sizeof shared);
        return shared;
    }
    void clear() noexcept { std::memset(raw_, 0, sizeof raw_); }
    void setSmall(std::string_view bytes, TextEncoding encoding) noexcept;
    void setLarge(Block* block, const char* begin, std::size_t size, TextEncoding encoding) noexcept;
    void shareFrom(const String& other) noexcept {
        std::memcpy(raw_, other.raw_, sizeof raw_);
        if (!isInline())
            retainBlock();
    }
    void takeFrom(String& other) noexcept {
        std::memcpy(raw_, other.raw_, sizeof raw_);
        other.clear();
    }
    void drop() noexcept {
        if (!isInline())
            releaseBlock();
    }
    void retainBlock() const noexcept;
    void releaseBlock() noexcept;
    void reallocate(std::size_t capacity);

    alignas(Large) unsigned char raw_[sizeof(Large)];
};

// Operands of a long concatenation, each a String or program text.
template <class... Parts>
String concat(const String& first, const Parts&... rest) {
    String result = first;
    ((result += rest), ...);
    return result;
}

} // namespace hearthix
