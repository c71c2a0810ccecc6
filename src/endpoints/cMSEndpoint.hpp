// cMSEndpoint: a node of the mesh (child 255) or one child of it, and the place where the mesh's addresses
// and the host's units meet.
//
// Endpoints enter themselves into mySensors.AddressIndex, which keeps them for the life of the process; a
// second one for the same address takes the first one's place. A caller of an operation that logs holds a
// reference of its own, since a host command that runs meanwhile may do just that.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "mysensors/cMSCommand.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Dictionary.hpp"

#include <cstdint>

namespace hearthix {

class cMSEndpoint : public Object {
public:
    // Makes an endpoint and enters it; the only way in which one comes to exist. The device type is dropped.
    // A child of a node that has no endpoint raises KeyNotFoundException, and stays in the index.
    static Ref<cMSEndpoint> create(Integer node, Integer child, Integer deviceType);
    // The endpoint of a root address in any case, or nil.
    static Ref<cMSEndpoint> find(const String& rootAddress);
    // The same by the low bytes of its numbers. Borrowed, until the index changes.
    static cMSEndpoint* find(Integer node, Integer child);

    Integer nodeID = 0;          // whole, while the addresses hold its low byte
    Integer batteryLevel = 0;    // percent, as the node sent it
    std::uint64_t seenTypes = 0; // a bit for each variable type from 0 to 63 known to be in subUnits
    String RootIndexString;      // the root address, such as 0A03
    // Of a node: root address to child. Of a child: each variable type seen so far, to its first payload, of
    // which only the key counts.
    Ref<Dictionary> subUnits;
    Integer childID = 0;
    Integer DeviceType = 0;
    String DeviceTypeName;
    String displaySuffix;
    String DeviceName; // the base of the names of the host's units

    // A set message or a battery report, as commands to the host.
    virtual void HandleReceivedMSCommand(const cMSCommand& command);
    // Does nothing: units come from values.
    virtual void makeSensibleDevicesFromPresentation() {}
    virtual void CreateHearthixUnitForVariableType(Integer variableType);
    virtual void CreateHearthixUnitForNode();
    // Copies the node's level. False when the node has no endpoint.
    virtual bool getBatteryLevelFromNode();
    // Tells the host a new level on every unit of this child, without changing their values.
    virtual void SendOnlyBatteryLevel(Integer level);
    // A command of the host, as one line to the node.
    virtual void handleReceivedHearthixCommand(const Ref<cHearthixCommand>& command);

private:
    friend class Ref<cMSEndpoint>;
    cMSEndpoint(Integer node, Integer child);

    void enter();
    void handleNodeLevel(const cMSCommand& command);
    void handleChildLevel(const cMSCommand& command);
    bool isNewType(Integer variableType);
};

} // namespace hearthix
