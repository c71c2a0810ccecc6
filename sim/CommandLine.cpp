#include "sim/CommandLine.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

constexpr std::size_t kHelpColumn = 26;

const OptionUsage* findOption(const CommandUsage& command, std::string_view name) {
    const auto found = std::find_if(command.options.begin(), command.options.end(),
                                    [name](const OptionUsage& each) { return name == each.name; });
    return found == command.options.end() ? nullptr : &*found;
}

void appendOption(std::string& text, const OptionUsage& option) {
    std::string left = std::string("  --") + option.name;
    if (option.value != nullptr)
        left += std::string(" ") + option.value;
    left.resize(std::max(left.size() + 2, kHelpColumn), ' ');
    text += left;
    for (const char* each = option.help; *each != '\0'; ++each) {
        text += *each;
        if (*each == '\n')
            text.append(kHelpColumn, ' ');
    }
    text += '\n';
}

} // namespace

String SocketAddress::text() const {
    return concat(host, ":", Str(port));
}

String helpText(const CommandUsage& command) {
    std::string text = "Usage: hearthix-sim ";
    text.append(command.name).append(" [OPTION]...\n\n").append(command.summary).append("\n\nOptions:\n");
    for (const OptionUsage& option : command.options)
        appendOption(text, option);
    appendOption(text, {"help", nullptr, "this text"});
    appendOption(text, {"version", nullptr, "the version"});
    text.append("\n").append(command.notes);
    return String(text, TextEncoding::utf8);
}

CommandLine::CommandLine(const CommandUsage& command, const std::vector<String>& words)
    : command_(command.name) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i].view();
        if (!word.starts_with("--"))
            refuse(concat("does not know what to do with '", words[i], "'"));
        const std::size_t equals = word.find('=');
        const std::string_view name =
            word.substr(2, equals == std::string_view::npos ? std::string_view::npos : equals - 2);
        const OptionUsage* option = findOption(command, name);
        if (option == nullptr)
            refuse(concat("has no option --", String(name)));
        const bool hasValue = equals != std::string_view::npos;
        if (option->value == nullptr && hasValue)
            refuse(concat("takes no value for --", String(name)));
        if (option->value != nullptr && !hasValue && i + 1 == words.size())
            refuse(concat("needs a value behind --", String(name), ": ", option->value));
        String& value = values_[std::string(name)];
        if (hasValue)
            value = words[i].cut(equals + 1);
        else if (option->value != nullptr)
            value = words[++i];
    }
}

String CommandLine::text(std::string_view name, const String& fallback) const {
    const auto found = values_.find(name);
    return found == values_.end() || found->second.empty() ? fallback : found->second;
}

double CommandLine::number(std::string_view name, double lowest, double highest, double fallback) const {
    if (!has(name))
        return fallback;
    const String given = text(name);
    const double value = Val(given);
    if (!IsNumeric(given) || value < lowest || value > highest)
        refuse(concat("needs a number from ", Str(lowest), " to ", Str(highest), " behind --", String(name),
                      ", not '", given, "'"));
    return value;
}

SocketAddress CommandLine::address(std::string_view name, const SocketAddress& fallback) const {
    if (!has(name))
        return fallback;
    const String given = text(name);
    const std::size_t colon = given.view().rfind(':');
    const String port = colon == std::string_view::npos ? String() : given.cut(colon + 1);
    const Integer number = ValInteger(port);
    // Only a whole number comes out as it went in.
    if (colon == 0 || Str(number) != port || number < 0 || number > 65535)
        refuse(concat("needs an address and a port such as 127.0.0.1:20300 behind --", String(name),
                      ", not '", given, "'"));
    return {given.cut(0, colon), number};
}

void CommandLine::exclude(std::string_view one, std::string_view other) const {
    if (has(one) && has(other))
        refuse(concat("takes --", String(one), " or --", String(other), ", not both"));
}

void CommandLine::refuse(const String& sentence) const {
    throw UsageError{
        concat("hearthix-sim ", command_, " ", sentence, "; see hearthix-sim ", command_, " --help")};
}

} // namespace hearthix::sim
