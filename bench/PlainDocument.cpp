#include "PlainDocument.hpp"

#include <cstdint>

namespace hearthix::bench {

namespace {

constexpr std::string_view kHeader = "KbdbAL  ";
constexpr std::string_view kUnit = "unit";

void writeText(std::string& out, std::string_view text) {
    const auto length = static_cast<std::uint32_t>(text.size());
    char bytes[sizeof length];
    for (std::size_t i = 0; i < sizeof length; ++i)
        bytes[i] = static_cast<char>(length >> (8 * i));
    out.append(bytes, sizeof bytes);
    out.append(text);
}

// Takes the expected bytes off the front.
bool take(std::string_view& in, std::string_view expected) {
    const bool there = in.starts_with(expected);
    in.remove_prefix(there ? expected.size() : 0);
    return there;
}

bool takeText(std::string_view& in, std::string_view& text) {
    if (in.size() < sizeof(std::uint32_t))
        return false;
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < sizeof length; ++i)
        length |= std::uint32_t{static_cast<unsigned char>(in[i])} << (8 * i);
    in.remove_prefix(sizeof length);
    if (in.size() < length)
        return false;
    text = in.substr(0, length);
    in.remove_prefix(length);
    return true;
}

} // namespace

std::string PlainDocument::save() const {
    std::string out(kHeader);
    for (const Unit& unit : units) {
        out += 'O';
        writeText(out, kUnit);
        out += kHeader;
        for (const Value& value : unit) {
            out += 'V';
            writeText(out, value.key);
            writeText(out, value.text);
        }
        out += 'E';
    }
    out += 'E';
    return out;
}

bool PlainDocument::load(std::string_view text) {
    std::string_view name;
    std::string_view key;
    std::string_view value;
    if (!take(text, kHeader))
        return false;
    while (take(text, "O")) {
        if (!takeText(text, name) || name != kUnit || !take(text, kHeader))
            return false;
        Unit& unit = units.emplace_back();
        for (Value& each : unit) {
            if (!take(text, "V") || !takeText(text, key) || !takeText(text, value))
                return false;
            each.key = key;
            each.text = value;
        }
        if (!take(text, "E"))
            return false;
    }
    return text == "E";
}

} // namespace hearthix::bench
