#include "tests/e2e/DriverModel.hpp"

#include <algorithm>
#include <sstream>

namespace hearthix::test {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> fields;
    std::istringstream rest(text + separator);
    for (std::string field; std::getline(rest, field, separator);)
        fields.push_back(field);
    return fields;
}

// In the order of their numbers; "*" is dimmable, "!" is read-only.
const std::vector<std::string> kTypes = split("TEMP*! HUM*! STATUS PERCENT* PRESSURE*! FORECAST*! RAIN*! "
                                              "RATE*! WIND*! GUST*! DIRECTION*! UV*! WEIGHT*! "
                                              "DISTANCE*! IMPEDE*! ARM TRIP! WATTS*! KWH*! SCENE SCENE FAN* "
                                              "SPEED* LIGHT*! VAR1* VAR2* VAR3* VAR4* VAR5* "
                                              "WINDOW WINDOW WINDOW IR* IR* FLOW*! VOLUME*! LOCK LEVEL*! "
                                              "VOLTAGE*! CURRENT*! RGB* RGBW* ID* PREFIX! COOL* HEAT*",
                                              ' ');

bool isKnown(long type) {
    return type >= 0 && type < static_cast<long>(kTypes.size());
}

// Unknown types have both qualities.
bool has(long type, char quality) {
    return !isKnown(type) || kTypes[static_cast<std::size_t>(type)].find(quality) != std::string::npos;
}

std::string suffixOf(long type) {
    const std::string digits = std::to_string(type);
    return isKnown(type) ? split(split(kTypes[static_cast<std::size_t>(type)], '*')[0], '!')[0]
                         : "UNKN" + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
}

long typeOf(const std::string& suffix) {
    for (long type = 0; isKnown(type); ++type)
        if (suffixOf(type) == suffix)
            return type;
    return -1;
}

std::string hexByte(long value) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[value >> 4 & 15], kDigits[value & 15]};
}

// The value of up to two hexadecimal digits, as far as they are some.
long hexValue(const std::string& text) {
    return std::strtol(("0" + text).c_str(), nullptr, 16);
}

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("-.0123456789") == std::string::npos;
}

long number(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10);
}

void tell(Effects& out, const std::string& text) {
    out.host.push_back(log(text));
}

} // namespace

DriverModel::Endpoint& DriverModel::create(long node, long child, Effects& out) {
    const std::string root = hexByte(node) + hexByte(child);
    tell(out, child == 255 ? "creating unit at node level for node: " + hexByte(node)
                           : "creating child object at Address: " + root);
    if (child != 255) {
        std::vector<std::string>& known = endpoints_[hexByte(node) + "FF"].children;
        if (std::find(known.begin(), known.end(), root) == known.end())
            known.push_back(root);
    }
    return endpoints_[root] = {node, child, 0, {}, {}};
}

DriverModel::Endpoint& DriverModel::findOrCreate(const std::string& root, long node, long child,
                                                 Effects& out) {
    if (knows(root))
        return endpoints_[root];
    if (!knows(hexByte(node) + "FF"))
        create(node, 255, out);
    return create(node, child, out);
}

void DriverModel::setMessage(const Fields& fields, Effects& out) {
    const long node = number(fields[0]);
    const long type = number(fields[4]);
    const std::string& value = fields[5];
    const std::string root = hexByte(node) + hexByte(number(fields[1]));
    Endpoint& endpoint = findOrCreate(root, node, number(fields[1]), out);
    if (fields[1] == "255")
        return tell(out, "node " + hexByte(node) +
                             " received a node level message that wasn't an internal command: ");
    const std::string address = root + "." + suffixOf(type);
    const std::string unknown = "unknown variable type: " + std::to_string(type);
    if (std::find(endpoint.types.begin(), endpoint.types.end(), type) == endpoint.types.end()) {
        tell(out, "creating Hearthix Unit for " + address);
        for (int i = 0; i < 2 && !isKnown(type); ++i)
            tell(out, unknown);
        out.host.push_back(newUnit(root, suffixOf(type), has(type, '*'), has(type, '!')));
        endpoint.types.push_back(type);
    }
    endpoint.battery = endpoints_[hexByte(node) + "FF"].battery;
    const std::string battery = std::to_string(endpoint.battery);
    if (!isNumber(value)) {
        out.host.push_back(describe(address, value, battery));
        return;
    }
    if (!isKnown(type))
        tell(out, unknown);
    out.host.push_back(has(type, '*') ? setValue(address, value, battery)
                                      : onOff(std::stod(value) == 0 ? "ON" : "OFF", address, battery));
}

void DriverModel::batteryMessage(const Fields& fields, Effects& out) {
    const long node = number(fields[0]);
    const std::string root = hexByte(node) + hexByte(number(fields[1]));
    if (!knows(root))
        create(node, number(fields[1]), out);
    const long level = number(fields[5]);
    if (fields[1] != "255" || endpoints_[root].battery == level)
        return;
    endpoints_[root].battery = level;
    for (const std::string& child : endpoints_[root].children) {
        endpoints_[child].battery = level;
        for (const long type : endpoints_[child].types)
            out.host.push_back(batteryOnly(child + "." + suffixOf(type), std::to_string(level)));
    }
}

void DriverModel::internalMessage(const Fields& fields, Effects& out) {
    const long node = number(fields[0]);
    const std::string place = "(" + hexByte(node) + ") ";
    const std::string& text = fields[5];
    switch (number(fields[4])) {
    case 0: return batteryMessage(fields, out);
    case 2: return tell(out, "mySensors gateway reports version: " + text);
    case 3: out.host.push_back(multi({{"mcmd", "getUnits"}})); return;
    case 6: {
        const std::string line = fields[0] + ";" + fields[1] + ";3;0;6;I";
        out.gateway += line + "\n";
        return tell(out, "sending config to node: " + line);
    }
    case 9: return tell(out, (node == 0 ? "Gateway Message: " : "Node Message: " + place) + text);
    case 11: return tell(out, "node " + place + "sketch name: " + text);
    case 12: return tell(out, "node " + place + "sketch version: " + text);
    case 14: return tell(out, (node == 0 ? "Gateway Ready: " : "Node: " + place) + text);
    default: return;
    }
}

Effects DriverModel::gatewaySays(const std::string& line) {
    Effects out;
    const Fields fields = split(line, ';');
    if (fields.size() < 6) {
        if (!line.empty())
            tell(out, "malformed mySensors packet: (" + line + ")");
        out.host.push_back(log("failed to parse Command: (" + line + ")", 4));
    } else if (fields[2] == "0") {
        tell(out, "presentation packet from node: " + hexByte(number(fields[0])) +
                      hexByte(number(fields[1])) + " (" + fields[5] + ")");
    } else if (fields[2] == "1") {
        setMessage(fields, out);
    } else if (fields[2] == "3") {
        internalMessage(fields, out);
    }
    return out;
}

Effects DriverModel::hostSends(const std::string& word, const std::string& address,
                               const std::string& value) {
    Effects out;
    const std::vector<std::string> fields = split(address, '.');
    if (fields.size() != 2) {
        tell(out, "invalid address format. mySensors addresses must be 4 bytes of NodeID ChildID in hex "
                  "followed by a "
                  "period and the name of the variable type. Command not sent.");
        return out;
    }
    const std::string& root = fields[0];
    const long node = hexValue(root.substr(0, 2));
    const long child = hexValue(root.substr(root.size() < 2 ? 0 : root.size() - 2));
    const Endpoint& endpoint = findOrCreate(root, node, child, out);
    const std::map<std::string, std::string> payloads{
        {"ON", "1;1"}, {"OFF", "1;0"}, {"SetValue", "1;" + value}, {"Qery", "2;"}};
    const auto found = payloads.find(word);
    if (found == payloads.end()) {
        tell(out, "unsupported command from Hearthix");
        return out;
    }
    const std::string line = std::to_string(endpoint.node) + ";" + std::to_string(endpoint.child) + ";" +
                             found->second.substr(0, 1) + ";0;" + std::to_string(typeOf(fields[1])) +
                             found->second.substr(1);
    tell(out, "outgoing command (" + line + ")");
    out.gateway = line + "\n";
    return out;
}

} // namespace hearthix::test
