// The driver's rules once more, as plainly as they can be told: what a gateway line or a host command leads
// to, given all that came before. Knows whole numbers, plain decimals and words as payloads, no debug mode.
#pragma once

#include "tests/support/Conversation.hpp"

#include <map>

namespace hearthix::test {

class DriverModel {
public:
    // A line without its end.
    Effects gatewaySays(const std::string& line);
    Effects hostSends(const std::string& word, const std::string& address, const std::string& value);
    bool knows(const std::string& root) const { return endpoints_.contains(root); }

private:
    struct Endpoint {
        long node = 0;
        long child = 0;
        long battery = 0;
        std::vector<long> types;           // of a child
        std::vector<std::string> children; // of a node
    };
    using Fields = std::vector<std::string>;

    Endpoint& create(long node, long child, Effects& out);
    Endpoint& findOrCreate(const std::string& root, long node, long child, Effects& out);
    void setMessage(const Fields& fields, Effects& out);
    void batteryMessage(const Fields& fields, Effects& out);
    void internalMessage(const Fields& fields, Effects& out);

    std::map<std::string, Endpoint> endpoints_;
};

} // namespace hearthix::test
