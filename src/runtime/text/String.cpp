#include "runtime/text/String.hpp"

#include "runtime/text/StringFunctions.hpp"

#include <cstring>

namespace hearthix {

String& String::operator+=(const String& other) {
    if (other.empty())
        return *this;
    if (empty())
        return *this = other;
    const TextEncoding joined = encoding() == other.encoding() ? encoding() : TextEncoding::none;
    append(other.view());
    setEncoding(joined);
    return *this;
}

String operator+(const String& left, const String& right) {
    return concat(left, right);
}

String joinParts(std::span<const TextPart> parts) {
    std::size_t size = 0;
    TextEncoding encoding = TextEncoding::none;
    for (const TextPart& part : parts) {
        if (part.bytes.empty())
            continue;
        if (size == 0)
            encoding = part.encoding;
        else if (encoding != part.encoding)
            encoding = TextEncoding::none;
        size += part.bytes.size();
    }
    return String::build(size, encoding, [&](char* target) {
        for (const TextPart& part : parts) {
            if (!part.bytes.empty())
                std::memcpy(target, part.bytes.data(), part.bytes.size());
            target += part.bytes.size();
        }
    });
}

bool operator==(const String& left, const String& right) noexcept {
    return RuntimeStringCompare(left.view(), right.view());
}

} // namespace hearthix
