// cMySensors: the one object that stands between the gateway and the host.
//
// It cuts the gateway's byte stream into lines, answers what the mesh asks of a controller, hands values and
// battery levels to the endpoints, and routes the host's commands to them. Lines are handled one at a time in
// the order of their arrival. Any log line may run a host command before it returns.
//
// Its operations are in four files: reception and node IDs in cMySensors.cpp, what becomes of a line in
// MessageDispatch.cpp, time, configuration and version in NodeServices.cpp, and the way of a host's command
// in CommandRouting.cpp.
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
    bool outstandingPing = false; // the next version message answers a ping and isn't logged

    // A command that isn't for the driver itself: the answer to a unit request, or a command to a unit.
    virtual void HandleHearthixCommand(const Ref<cHearthixCommand>& command);
    // Bytes from the gateway. What is left of a line after more than five seconds of silence is thrown away.
    void PortDataAvailable(const String& data) override;
    // Every failure of the port ends the driver.
    void PortError(const String& message, Integer code) override;
    // One line without its end.
    virtual void HandleMSCommand(const String& line);
    // Seconds from midnight of 1970-01-01 on the local clock, the low 32 bits of them. No date means now.
    virtual std::uint32_t getMySensorDate(const std::optional<Date>& when) const;
    virtual void sendTimeToNode(Integer node);
    virtual void sendConfigToNode(Integer node, Integer child, const String& value);
    // The host's list of units: picks a node ID that none of them uses for the node that waits for one.
    virtual void gotUnitsFromHearthix(const Ref<cHearthixCommand>& command);
    virtual void requestVersion();

private:
    // A node without an ID, which names itself by these for now.
    struct IdRequest {
        Integer nodeID;
        Integer childID;
    };

    void dropStaleBytes();
    void handleInternal(const cMSCommand& command, const String& line);
    void handleSet(const cMSCommand& command);
    void handleBattery(const cMSCommand& command);
    void handleVersion(const cMSCommand& command);

    String buffer; // the bytes after the last line feed
    std::optional<Date> LastDataRead;
    Ref<CXML> unitXMLFromHearthix;         // the latest unit list
    std::optional<IdRequest> waitingForID; // the latest that has no answer yet
};

namespace Globals {
// The one gateway driver; nil until start-up has opened the port.
extern Ref<cMySensors> gMySensors;
} // namespace Globals

} // namespace hearthix
