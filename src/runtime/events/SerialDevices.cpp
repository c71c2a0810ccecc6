#include "runtime/events/SerialDevices.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <grp.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace hearthix {

namespace {

// Whether the system lists a terminal driver for a device number. A line of the list names the driver, the
// device, the major number and the minor number or the range of them.
bool hasTerminalDriver(unsigned deviceMajor, unsigned deviceMinor) {
    std::ifstream drivers("/proc/tty/drivers");
    if (!drivers)
        return true; // no list here: opening the device will tell
    std::string line;
    while (std::getline(drivers, line)) {
        std::istringstream fields(line);
        std::string driver;
        std::string device;
        std::string minors;
        unsigned driverMajor = 0;
        if (!(fields >> driver >> device >> driverMajor >> minors) || driverMajor != deviceMajor)
            continue;
        std::istringstream range(minors);
        unsigned first = 0;
        char dash = 0;
        unsigned last = 0;
        range >> first;
        if (!(range >> dash >> last))
            last = first;
        if (deviceMinor >= first && deviceMinor <= last)
            return true;
    }
    return false;
}

bool isTerminalDevice(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode) &&
           hasTerminalDriver(major(status.st_rdev), minor(status.st_rdev));
}

// The group whose members may use the device; empty when there is none, or when it is no group to join.
String groupFor(const std::string& path) {
    constexpr mode_t kGroupMayUse = S_IRGRP | S_IWGRP;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || status.st_gid == 0 ||
        (status.st_mode & kGroupMayUse) != kGroupMayUse)
        return {};
    const struct group* entry = getgrgid(status.st_gid);
    return entry != nullptr ? String(entry->gr_name) : String();
}

} // namespace

Ref<SerialDevice> System::SerialPort(const String& name) {
    static constexpr std::array kFolders{"/dev/", "/dev/serial/by-id/", "/dev/serial/by-path/", "/dev/pts/"};
    const std::string text(name.view());
    // A NUL would cut the name short on its way to the system.
    if (text.empty() || text.find('\0') != std::string::npos)
        return nullptr;
    if (text[0] == '/')
        return isTerminalDevice(text) ? Ref<SerialDevice>::make(name) : nullptr;
    for (const char* folder : kFolders)
        if (isTerminalDevice(folder + text))
            return Ref<SerialDevice>::make(String(folder) + name);
    return nullptr;
}

String explainOpenFailure(const String& path, int error) {
    const String reason = concat("cannot open ", path, ": ", std::strerror(error));
    if (error == EACCES || error == EPERM) {
        const String group = groupFor(std::string(path.view()));
        if (!group.empty())
            return concat(reason, "; the device belongs to the group ", group,
                          ", add the user that runs this program to it (usermod -aG ", group, " USER)");
        return reason + "; give the user that runs this program access to the device";
    }
    if (error == EBUSY)
        return reason + "; another program is using the device, end that program first";
    return reason + "; check the cable and the name of the device";
}

} // namespace hearthix
