// String: a value that contains any bytes, NUL included, with an optional encoding tag.
//
// Up to 16 bytes are stored in the object itself. Longer texts share a reference-counted block, so that
// copying and cutting cost the same for every length. A long cut therefore keeps the whole text in memory
// that it was cut from: call compact() before a cut of much longer data is stored for a long time.
#pragma once

#include "runtime/text/Encoding.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

namespace hearthix {

using Integer = std::int64_t;

class String {
public:
    String() noexcept = default;
    // Program text: tagged as UTF-8.
    String(const char* text) : String(std::string_view(text), TextEncoding::utf8) {}
    explicit String(std::string_view bytes, TextEncoding encoding = TextEncoding::none) {
        std::copy(bytes.begin(), bytes.end(), allocate(bytes.size(), bytes.size(), encoding));
    }
    String(const String& other) noexcept : content_(other.content_) {
        if (isShared())
            retainBlock();
    }
    String(String&& other) noexcept : content_(std::exchange(other.content_, Content{})) {}
    String& operator=(String other) noexcept {
        std::swap(content_, other.content_);
        return *this;
    }
    ~String() {
        if (isShared())
            releaseBlock();
    }

    std::size_t size() const noexcept { return static_cast<std::size_t>(content_.size); }
    bool empty() const noexcept { return size() == 0; }
    std::string_view view() const noexcept {
        return {isShared() ? content_.shared.begin : content_.small, size()};
    }
    operator std::string_view() const noexcept { return view(); }
    // 0 past the end.
    unsigned char byteAt(std::size_t offset) const noexcept {
        return offset < size() ? static_cast<unsigned char>(view()[offset]) : std::uint8_t{0};
    }

    TextEncoding encoding() const noexcept { return static_cast<TextEncoding>(content_.encoding); }
    void setEncoding(TextEncoding encoding) noexcept {
        content_.encoding = static_cast<std::uint8_t>(encoding);
    }

    // At most count bytes from offset on; fewer, or none, if the text ends before.
    String cut(std::size_t offset, std::size_t count = SIZE_MAX) const {
        return offset < size() ? part(view().substr(offset, count)) : part({});
    }
    // The bytes of a view of this text, as a string with the same tag.
    String part(std::string_view shown) const;
    // Removes at most count bytes from the front.
    void removeFront(std::size_t count) noexcept { *this = cut(count); }
    // A new text of a given size. fill(char* bytes) must set all its bytes.
    template <class Fill>
    static String build(std::size_t size, TextEncoding encoding, const Fill& fill) {
        String text;
        fill(text.allocate(size, size, encoding));
        return text;
    }
    // Appends bytes, which may be part of this text, and keeps the tag. The cost per byte is constant on
    // average.
    String& append(std::string_view bytes);
    // Appends a string. The tag stays if both are equal or the other text is empty; an empty text gets the
    // other's tag; otherwise the result has no tag.
    String& operator+=(const String& other);
    // Copies the bytes out of a block that is more than twice as large.
    void compact();

    friend String operator+(const String& left, const String& right);
    // Equality ignores tags and the case of ASCII letters. Other letters are compared byte by byte.
    friend bool operator==(const String& left, const String& right) noexcept;

private:
    static constexpr std::size_t kSmallCapacity = 16;
    static constexpr std::uint64_t kLargestSize = (std::uint64_t{1} << 56U) - 1;
    struct Block;
    struct Shared {
        Block* block;
        const char* begin;
    };
    struct Content {
        union {
            char small[kSmallCapacity]; // up to this size
            Shared shared;              // above it
        };
        // In one word, so that a copy right after the creation does not wait for two stores.
        std::uint64_t size : 56;
        std::uint64_t encoding : 8;
    };

    bool isShared() const noexcept { return size() > kSmallCapacity; }
    void retainBlock() const noexcept;
    void releaseBlock() const noexcept;
    // Makes this empty text one of a given size, which may grow to a given capacity. The caller sets the
    // bytes.
    char* allocate(std::size_t size, std::size_t capacity, TextEncoding encoding) {
        char* bytes = size > kSmallCapacity ? allocateBlock(size, capacity) : content_.small;
        content_.size = size & kLargestSize;
        content_.encoding = static_cast<std::uint8_t>(encoding);
        return bytes;
    }
    char* allocateBlock(std::size_t size, std::size_t capacity);
    char* growInPlace(std::size_t count) noexcept;

    Content content_{};
};

// One operand of a concatenation: a string or program text, borrowed.
struct TextPart {
    TextPart(const String& text) : bytes(text.view()), encoding(text.encoding()) {}
    TextPart(const char* text) : bytes(text), encoding(TextEncoding::utf8) {}

    std::string_view bytes;
    TextEncoding encoding;
};

String joinParts(std::span<const TextPart> parts);

// The concatenation of any number of operands, with one allocation; tags as with operator+=.
template <class... Parts>
String concat(const Parts&... parts) {
    const TextPart all[] = {TextPart(parts)...};
    return joinParts(all);
}

} // namespace hearthix
