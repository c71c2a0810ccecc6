// The person who operates the host during a check, or a script that replaces the person.
//
// A person reads a request on standard error and answers on standard input. A script receives each request as
// its arguments, such as "set 0C04.VAR1 text". Its output is the answer. An exit status other than 0 means
// that it could not carry out the request.
#pragma once

#include "runtime/text/String.hpp"

#include <optional>
#include <vector>

namespace hearthix::sim {

class HostOperator {
public:
    // An empty path means a person.
    explicit HostOperator(const String& script) : script_(script) {}

    bool isScript() const noexcept { return !script_.empty(); }
    // Returns the first line of the answer, or nothing if the request was not carried out within a minute.
    // Runs events meanwhile.
    std::optional<String> ask(const std::vector<String>& request, const String& sentence) const;

private:
    std::optional<String> askScript(const std::vector<String>& request) const;

    String script_;
};

} // namespace hearthix::sim
