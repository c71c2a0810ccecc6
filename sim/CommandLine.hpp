// The command line of one subcommand, and the two ways in which a program tells that it cannot go on.
//
// A subcommand describes its options in a table; the table reads the command line and writes the help.
#pragma once

#include "runtime/text/String.hpp"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace hearthix::sim {

// The program was called in a way that it doesn't know; the sentence tells how to. Exit status 2.
struct UsageError {
    String sentence;
};
// The program cannot do what it was asked for; the sentence tells why, and what to do. Exit status 1.
struct Failure {
    String sentence;
};

struct SocketAddress {
    String host;
    Integer port = 0;

    String text() const;
};

struct OptionUsage {
    const char* name;
    const char* value; // what its value is called in the help; null for an option without one
    const char* help;  // lines after the first are indented by the writer of the help
};

struct CommandUsage {
    const char* name;
    const char* summary;
    std::vector<OptionUsage> options;
    const char* notes; // printed below the options
};

String helpText(const CommandUsage& command);

class CommandLine {
public:
    // Raises UsageError for words that the table lacks. Both "--name value" and "--name=value" are read; of
    // an option given twice the last one counts.
    CommandLine(const CommandUsage& command, const std::vector<String>& words);

    bool has(std::string_view name) const { return values_.contains(name); }
    // The value as it was given; the fallback when the option was not, or is empty.
    String text(std::string_view name, const String& fallback = String()) const;
    // Raises UsageError when the value is no number from lowest to highest.
    double number(std::string_view name, double lowest, double highest, double fallback) const;
    // Raises UsageError when the value is no ADDRESS:PORT.
    SocketAddress address(std::string_view name, const SocketAddress& fallback) const;
    // Raises UsageError when both were given.
    void exclude(std::string_view one, std::string_view other) const;

private:
    [[noreturn]] void refuse(const String& sentence) const;

    String command_;
    std::map<std::string, String, std::less<>> values_;
};

} // namespace hearthix::sim
