// cMSEndpoint: a node of the mesh (child 255) or one child of a node. It turns messages of the mesh into
// commands for the host's units, and commands of the host into lines for the mesh.
//
// mySensors.AddressIndex owns every endpoint until the process ends. A second endpoint for an address
// replaces the first one there. An operation that logs may run a host command, which may replace an endpoint
// in this way, so the caller of such an operation must keep its own reference to the endpoint.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "mysensors/cMSCommand.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Dictionary.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace hearthix {

class cMSEndpoint : public Object {
public:
    // Creates an endpoint and enters it in the index. The device type is ignored. If the node of a child has
    // no endpoint, this raises KeyNotFoundException after the child was entered.
    static Ref<cMSEndpoint> create(Integer node, Integer child, Integer deviceType = -1);
    // Does the same, and creates the endpoint of the node first if that is missing.
    static Ref<cMSEndpoint> createWithNode(Integer node, Integer child);

    Integer nodeID = 0;       // the whole number; addresses contain its low byte
    Integer batteryLevel = 0; // percent, as the node sent it
    // Optimised: a bit for each variable type from 0 to 63 that is in subUnits. A value needs no access to
    // that table then, which would slow down meshes of 2,500 endpoints and more.
    std::uint64_t seenTypes = 0;
    String RootIndexString; // the root address, such as 0A03
    // A node: root address to child. A child: each variable type that was seen to its first payload; only the
    // keys are used.
    Ref<Dictionary> subUnits;
    Integer childID = 0;
    Integer DeviceType = 0;
    String DeviceTypeName;
    String displaySuffix;
    String DeviceName; // the names of the host's units begin with it

    // Handles a set message or a battery report.
    virtual void HandleReceivedMSCommand(const cMSCommand& command);
    // Does nothing, because units are created from values.
    virtual void makeSensibleDevicesFromPresentation() {}
    virtual void CreateHearthixUnitForVariableType(Integer variableType);
    virtual void CreateHearthixUnitForNode();
    // Copies the level of the node; false if the node has no endpoint.
    virtual bool getBatteryLevelFromNode();
    // Reports a new level for every unit of this child, without a value.
    virtual void SendOnlyBatteryLevel(Integer level);
    // Sends a command of the host to the node, as one line.
    virtual void handleReceivedHearthixCommand(const Ref<cHearthixCommand>& command);

private:
    friend class Ref<cMSEndpoint>;
    cMSEndpoint(Integer node, Integer child);

    void handleNodeLevel(const cMSCommand& command);
    void handleChildLevel(const cMSCommand& command);
};

namespace mySensors {

// Every endpoint by its root address. No entry is ever removed, and only enter adds one.
//
// Optimised: a second table finds an endpoint by its two numbers. Every value needs two look-ups. With the
// address as the key they would increase the cost of a value by half.
class AddressTable : public Dictionary {
public:
    void enter(const Ref<cMSEndpoint>& endpoint);
    // Returns the endpoint of a root address, in capitals or small letters; nil if there is none.
    Ref<cMSEndpoint> at(const String& rootAddress) const;
    // Returns the endpoint of the low bytes of two numbers; nil if there is none.
    Ref<cMSEndpoint> at(Integer node, Integer child) const {
        const auto& children = byNode_[lowByte(node)];
        return Ref<cMSEndpoint>(children.empty() ? nullptr : children[lowByte(child)]);
    }

private:
    static std::uint8_t lowByte(Integer number) noexcept { return static_cast<std::uint8_t>(number); }

    std::array<std::vector<cMSEndpoint*>, 256> byNode_; // the children of a node, if it has any
};

// Nil until start-up.
extern Ref<AddressTable> AddressIndex;

} // namespace mySensors

} // namespace hearthix
