#include "runtime/text/Base64.hpp"

#include <algorithm>
#include <string>

namespace hearthix {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

String EncodeBase64(const String& bytes, Integer lineLength) {
    const std::string_view input = bytes;
    std::string result;
    Integer column = 0;
    for (std::size_t at = 0; at < input.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, input.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = (group << 8U) | (i < count ? static_cast<unsigned char>(input[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i) {
            if (lineLength > 0 && column++ == lineLength) {
                result += "\r\n";
                column = 1;
            }
            result += i <= count ? kAlphabet[(group >> (18U - 6U * i)) & 63U] : '=';
        }
    }
    return String(result, TextEncoding::utf8);
}

String DecodeBase64(const String& text, TextEncoding encoding) {
    std::string result;
    std::uint32_t bits = 0;
    unsigned pending = 0; // low bits that are not part of a byte yet
    for (const char letter : text.view().substr(0, text.view().find('='))) {
        const std::size_t value = kAlphabet.find(letter);
        if (value == std::string_view::npos)
            continue;
        bits = (bits << 6U) | static_cast<std::uint32_t>(value);
        pending += 6;
        if (pending >= 8) {
            pending -= 8;
            result += static_cast<char>(static_cast<unsigned char>(bits >> pending));
        }
    }
    return String(result, encoding);
}

} // namespace hearthix
