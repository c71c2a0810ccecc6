#include "runtime/events/SerialDevices.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <array>
#include <string>

#include <grp.h>
#include <sys/stat.h>

namespace hearthix {

namespace {

bool isCharacterDevice(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}

// The group whose members may use the device. Empty if there is none, or if the group is root's.
String groupFor(const std::string& path) {
    constexpr mode_t kGroupMayUse = S_IRGRP | S_IWGRP;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || status.st_gid == 0 ||
        (status.st_mode & kGroupMayUse) != kGroupMayUse)
        return {};
    const struct group* entry = getgrgid(status.st_gid);
    return entry != nullptr ? String(entry->gr_name) : String();
}

constexpr std::string_view kSocketPrefix = "socket://";

// The network line of a name that begins with the prefix, or nil.
Ref<SerialDevice> networkLine(const String& name) {
    constexpr Integer kHighestPort = 65535;
    std::string_view host = name.view().substr(kSocketPrefix.size());
    const std::size_t colon = host.rfind(':');
    if (colon == std::string_view::npos)
        return nullptr;
    const std::string_view digits = host.substr(colon + 1);
    const Integer port = ValInteger(digits);
    const bool isPort = digits.find_first_not_of("0123456789") == std::string_view::npos;
    host = host.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    else if (host.find_first_of(":[]") != std::string_view::npos)
        return nullptr;
    if (host.empty() || !isPort || port < 1 || port > kHighestPort)
        return nullptr;
    return Ref<SerialDevice>::make(name, String(host), port);
}

} // namespace

Ref<SerialDevice> System::SerialPort(const String& name) {
    static constexpr std::array kFolders{"/dev/", "/dev/serial/by-id/", "/dev/serial/by-path/", "/dev/pts/"};
    const std::string text(name.view());
    // The system's calls would end the name at a NUL.
    if (text.empty() || text.find('\0') != std::string::npos)
        return nullptr;
    if (RuntimeStringCompare(name.view().substr(0, kSocketPrefix.size()), kSocketPrefix))
        return networkLine(name);
    if (text[0] == '/')
        return isCharacterDevice(text) ? Ref<SerialDevice>::make(name) : nullptr;
    for (const char* folder : kFolders)
        if (isCharacterDevice(folder + text))
            return Ref<SerialDevice>::make(String(folder) + name);
    return nullptr;
}

String explainOpenFailure(const SerialDevice& device, const std::error_code& error) {
    const String reason = concat("cannot open ", device.path(), ": ", error.message().c_str());
    if (device.isNetwork())
        return reason + "; check the gateway's address and port, and whether it is on";
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
        const String group = groupFor(std::string(device.path().view()));
        if (!group.empty())
            return concat(reason, "; the device belongs to the group ", group,
                          ", add the user that runs this program to it (usermod -aG ", group, " USER)");
        return reason + "; give the user that runs this program access to the device";
    }
    if (error == std::errc::device_or_resource_busy)
        return reason + "; another program is using the device, end that program first";
    return reason + "; check the cable and the name of the device";
}

} // namespace hearthix
