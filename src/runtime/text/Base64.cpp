#include "runtime/text/Base64.hpp"

#include <algorithm>
#include <array>

namespace hearthix {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int8_t kForeign = -1;

constexpr std::array<std::int8_t, 256> makeValues() {
    std::array<std::int8_t, 256> values{};
    values.fill(kForeign);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
    return values;
}

constexpr auto kValues = makeValues();

} // namespace

String EncodeBase64(const String& bytes, Integer lineLength) {
    const std::string_view input = bytes.view();
    String result(std::string_view(), TextEncoding::utf8);
    result.reserve(input.size() / 3 * 4 + input.size() / 28 + 8);
    Integer column = 0;
    for (std::size_t at = 0; at < input.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, input.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = (group << 8U) | (i < count ? static_cast<unsigned char>(input[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i) {
            if (lineLength > 0 && column == lineLength) {
                result.append("\r\n");
                column = 0;
            }
            const char digit = i <= count ? kAlphabet[(group >> (18U - 6U * i)) & 63U] : '=';
            result.append(std::string_view(&digit, 1));
            ++column;
        }
    }
    return result;
}

String DecodeBase64(const String& text, TextEncoding encoding) {
    String result(std::string_view(), encoding);
    result.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t bits = 0;
    unsigned held = 0;
    for (const char letter : text.view()) {
        if (letter == '=')
            break;
        const std::int8_t value = kValues[static_cast<unsigned char>(letter)];
        if (value == kForeign)
            continue;
        bits = ((bits << 6U) | static_cast<std::uint32_t>(value)) & 0xFFFFU;
        held += 6;
        if (held >= 8) {
            held -= 8;
            const char byte = static_cast<char>(static_cast<unsigned char>(bits >> held));
            result.append(std::string_view(&byte, 1));
        }
    }
    return result;
}

} // namespace hearthix
