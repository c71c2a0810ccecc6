// cMySensors: the one object between the gateway and the host.
//
// It cuts the gateway's byte stream into lines, answers requests of the mesh (time, configuration, node IDs),
// passes values and battery levels to the endpoints, and routes commands of the host to them. Lines are
// handled one at a time, in the order of arrival. Every log line may run a host command before the call
// returns.
//
// The operations are implemented in four files: the receive path and node IDs in cMySensors.cpp, the dispatch
// of lines in MessageDispatch.cpp, time, configuration and version in NodeServices.cpp, and the routing of
// host commands in CommandRouting.cpp.
#pragma once

#include "document/CXML.hpp"
#include "endpoints/cMSEndpoint.hpp"
#include "hostlink/cHearthixCommand.hpp"
#include "mysensors/cMSCommand.hpp"
#include "ports/iAbstractPort.hpp"
#include "runtime/values/Date.hpp"

#include <cstdint>
#include <optional>

namespace hearthix {

class cMySensors : public iAbstractPortReceiver {
public:
    bool outstandingPing = false; // the next version message is the answer to a ping and is not logged

    // Handles a unit list, or a command to a unit.
    virtual void HandleHearthixCommand(const Ref<cHearthixCommand>& command);
    // Handles the complete lines and keeps the rest. The rest is discarded if the next bytes arrive more than
    // five seconds later.
    void PortDataAvailable(const String& data) override;
    // Ends the driver.
    void PortError(const String& message, Integer code) override;
    // Handles one line, without its line end.
    virtual void HandleMSCommand(const String& line);
    // Returns the seconds since 1970-01-01 00:00 on the local clock, cut to 32 bits. No date means now.
    virtual std::uint32_t getMySensorDate(const std::optional<Date>& when) const;
    virtual void sendTimeToNode(Integer node);
    virtual void sendConfigToNode(Integer node, Integer child, const String& value);
    // Handles the unit list of the host: assigns a node ID to the node that waits for one.
    virtual void gotUnitsFromHearthix(const Ref<cHearthixCommand>& command);
    virtual void requestVersion();

private:
    // A node without an ID and the address that it uses meanwhile.
    struct IdRequest {
        Integer nodeID;
        Integer childID;
    };

    void dropStaleBytes();
    void handleInternal(const cMSCommand& command, const String& line);
    void handleSet(const cMSCommand& command);
    void handleBattery(const cMSCommand& command, const String& line);
    void handleVersion(const cMSCommand& command);

    String buffer; // the bytes after the last line feed
    std::optional<Date> LastDataRead;
    Ref<CXML> unitXMLFromHearthix;         // the latest unit list
    std::optional<IdRequest> waitingForID; // the latest request, until it is answered
};

namespace Globals {
// The one gateway driver. Nil until start-up has opened the port.
extern Ref<cMySensors> gMySensors;
} // namespace Globals

} // namespace hearthix
