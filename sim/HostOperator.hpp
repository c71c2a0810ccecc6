// The person who acts at a host while it is checked, or the script that does so in place of a person.
//
// A person reads a request on standard error, and answers on standard input. A script gets each request as
// its arguments, such as "set 0C04.VAR1 text"; its output is the answer, and a status other than 0 means that
// it could not do it.
#pragma once

#include "runtime/text/String.hpp"

#include <optional>
#include <vector>

namespace hearthix::sim {

class HostOperator {
public:
    // Without a script's path it is a person.
    explicit HostOperator(const String& script) : script_(script) {}

    bool isScript() const noexcept { return !script_.empty(); }
    // The first line of the answer; nothing if it can't be done, or wasn't done within a minute. Events run
    // meanwhile.
    std::optional<String> ask(const std::vector<String>& request, const String& sentence) const;

private:
    std::optional<String> askScript(const std::vector<String>& request) const;

    String script_;
};

} // namespace hearthix::sim
