// String: a value that holds any bytes, NUL included, with an optional encoding tag.
//
// Copying and cutting cost the same whatever the length, since long texts share their bytes
// (StringStorage.hpp says how). Hence the one thing to know: a cut keeps all of the text alive that it was
// taken from. Call compact() on a short cut of long data before it is stored for good.
#pragma once

#include "runtime/text/StringStorage.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace hearthix {

using Integer = std::int64_t;

class String {
public:
    String() noexcept = default;
    // Program text: tagged as UTF-8. Of a literal that fits the object nothing is left to do at run time.
    [[gnu::always_inline]] String(const char* text) : String(std::string_view(text), TextEncoding::utf8) {}
    explicit String(std::string_view bytes, TextEncoding encoding = TextEncoding::none)
        : storage_(bytes, encoding) {}

    const char* data() const noexcept { return view().data(); }
    std::size_t size() const noexcept { return storage_.size(); }
    bool empty() const noexcept { return size() == 0; }
    std::string_view view() const noexcept { return storage_.view(); }
    operator std::string_view() const noexcept { return view(); }
    unsigned char byteAt(std::size_t offset) const noexcept {
        const std::string_view bytes = view();
        return offset < bytes.size() ? static_cast<unsigned char>(bytes[offset]) : std::uint8_t{0};
    }

    TextEncoding encoding() const noexcept { return storage_.encoding(); }
    void setEncoding(TextEncoding encoding) noexcept { storage_.setEncoding(encoding); }

    // The bytes from offset on, at most count of them; a range past the end yields what is there.
    String cut(std::size_t offset, std::size_t count = SIZE_MAX) const {
        const std::string_view bytes = view();
        return part(offset < bytes.size() ? bytes.substr(offset, count) : std::string_view());
    }
    // The bytes that a view of this text shows.
    String part(std::string_view shown) const { return {storage_, shown}; }
    // Takes the first bytes away, in place; at most all of them.
    void removeFront(std::size_t count) noexcept { storage_.removeFront(count); }
    // A new text of so many bytes, filled in by fill(char* bytes), which must set every one of them.
    template <class Fill>
    static String build(std::size_t size, TextEncoding encoding, const Fill& fill) {
        String text;
        fill(text.storage_.prepare(size, encoding));
        return text;
    }
    // Appends bytes; amortised constant cost a byte. The tag stays as it is.
    String& append(std::string_view bytes) {
        storage_.append(bytes);
        return *this;
    }
    // Appends a string as concatenation does: equal tags stay, an empty side yields to the other, else none.
    String& operator+=(const String& other);
    // Makes room so that appends up to this many bytes in all need no further allocation.
    void reserve(std::size_t capacity) { storage_.reserve(capacity); }
    // Overwrites bytes inside the text; the range must lie in it. Others that share the bytes keep theirs.
    void replaceBytes(std::size_t offset, std::string_view bytes) { storage_.replaceBytes(offset, bytes); }
    // Lets go of shared bytes that are many more than the text.
    void compact() { storage_.compact(); }

    friend String operator+(const String& left, const String& right);
    // Equality of strings ignores the case of ASCII letters, and tags.
    friend bool operator==(const String& left, const String& right) noexcept;

private:
    String(const StringStorage& whole, std::string_view part) noexcept : storage_(whole, part) {}

    StringStorage storage_;
};

// One operand of a concatenation: a string or program text, borrowed.
struct TextPart {
    TextPart(const String& text) : bytes(text.view()), encoding(text.encoding()) {}
    TextPart(const char* text) : bytes(text), encoding(TextEncoding::utf8) {}

    std::string_view bytes;
    TextEncoding encoding;
};

String joinParts(std::span<const TextPart> parts);

// The concatenation of any number of operands in one go; tags as with operator+=.
template <class... Parts>
String concat(const Parts&... parts) {
    const TextPart all[] = {TextPart(parts)...};
    return joinParts(all);
}

} // namespace hearthix
