#include "shell/log/Globals.hpp"

#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"

namespace hearthix {

bool Globals::DebugMode = false;
bool Globals::DoQuit = false;

void Globals::LogStack(const RuntimeException& error) {
    Print(concat("stack trace begin", EndOfLine));
    try {
        for (const String& line : error.Stack())
            Print(concat(line, EndOfLine));
    } catch (const RuntimeException&) {
        Print(concat("there was an error while logging the stack trace", EndOfLine));
    }
    Print(concat("done logging the stack", EndOfLine));
}

String Globals::Hexify(const String& bytes) {
    String text;
    for (const char byte : bytes.view()) {
        text.append(" ");
        text.append(formatHex(static_cast<std::uint8_t>(byte)));
        RuntimeBackgroundTask();
    }
    return text;
}

String Globals::formatHex(std::uint8_t value) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const char digits[] = {kDigits[value >> 4U], kDigits[value & 15U]};
    return String(std::string_view(digits, sizeof digits), TextEncoding::utf8);
}

String Globals::formatHexOfLowByte(Integer value) {
    return formatHex(static_cast<std::uint8_t>(value & 0xFF));
}

} // namespace hearthix
