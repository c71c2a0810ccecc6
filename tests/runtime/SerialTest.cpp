#include "runtime/events/Serial.hpp"

#include "Links.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/system/PseudoTerminal.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <termios.h>

namespace {

// Shows what a pseudo-terminal hides: with a device number of 4:64 it counts as a serial port.
bool looksLikeSerialPort = false;
std::string lineRequests;

} // namespace

extern "C" int fstat(int descriptor, struct stat* status) noexcept {
    const int result = fstatat(descriptor, "", status, AT_EMPTY_PATH);
    if (looksLikeSerialPort)
        status->st_rdev = makedev(4, 64);
    return result;
}

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == TIOCEXCL)
        lineRequests += "exclusive ";
    if (request == TIOCMBIS && *static_cast<int*>(argument) == TIOCM_DTR)
        lineRequests += "DTR ";
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}

namespace hearthix {
namespace {

struct NotedSerial : Serial {
    void Event_Error() override { events += 'e'; }
    void Event_DataAvailable() override { received += ReadAll().view(); }
    std::string events;
    std::string received;
};

// A pseudo-terminal: a device to open by its name, and the other end of it.
class SerialTest : public testing::Test {
protected:
    SerialTest() {
        char path[128] = "";
        EXPECT_EQ(openpty(&master_, &slave_, path, nullptr, nullptr), 0);
        name_ = String(std::string_view(path));
        serial_.SerialPort = System::SerialPort(name_);
    }
    ~SerialTest() override {
        close(slave_);
        close(master_);
    }

    int master_ = -1;
    int slave_ = -1;
    String name_;
    NotedSerial serial_;
};

TEST_F(SerialTest, FindsCharacterDevicesOnly) {
    EXPECT_EQ(System::SerialPort(name_)->path().view(), name_.view());
    EXPECT_EQ(System::SerialPort(NthField(name_, "/", 4))->path().view(), name_.view()); // below /dev/pts
    EXPECT_FALSE(System::SerialPort("tty").isNil()); // the only one of its driver
    for (const char* name : {"", "no-such-port", "/dev/no-such-port", "/etc/passwd", "/dev"})
        EXPECT_TRUE(System::SerialPort(name).isNil()) << name;
    EXPECT_TRUE(System::SerialPort(name_ + String(std::string_view("\0x", 2))).isNil());
}

TEST_F(SerialTest, ReadsTheHostAndPortOfANetworkLine) {
    for (const auto& [name, host, port] : {std::tuple("socket://h:1", "h", 1),
                                           {"SOCKET://a.b:65535", "a.b", 65535},
                                           {"socket://[::1]:5003", "::1", 5003}}) {
        const Ref<SerialDevice> device = System::SerialPort(name);
        EXPECT_TRUE(device && device->host() == host && device->port() == port) << name;
    }
    for (const char* end : {"::1:5003", "h:0", "h:65536", "h:50a3", ":5003", "[]:5003", "h:", "h"})
        EXPECT_TRUE(System::SerialPort(String("socket://") + end).isNil()) << end;
}

TEST_F(SerialTest, SetsTheLineUpAsAGatewayNeedsIt) {
    termios before{};
    tcgetattr(slave_, &before);
    before.c_cflag |= CRTSCTS | CSTOPB;
    before.c_iflag |= IXON | IXOFF | IXANY;
    before.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
    ASSERT_EQ(tcsetattr(slave_, TCSANOW, &before), 0);
    for (const bool isSerialPort : {false, true}) {
        looksLikeSerialPort = isSerialPort;
        serial_.DataTerminalReady = isSerialPort;
        lineRequests.clear();
        ASSERT_TRUE(serial_.Open());
        EXPECT_EQ(lineRequests, isSerialPort ? "exclusive DTR " : "");
    }
    looksLikeSerialPort = false;
    ioctl(slave_, TIOCNXCL);
    termios after{};
    tcgetattr(slave_, &after);
    EXPECT_EQ(after.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS | CLOCAL | CREAD),
              tcflag_t{CS8 | CLOCAL | CREAD});
    EXPECT_EQ(after.c_iflag & (IXON | IXOFF | IXANY | ICRNL | INLCR | IGNCR | ISTRIP), tcflag_t{0});
    EXPECT_EQ(after.c_lflag & (ECHO | ICANON | ISIG | IEXTEN), tcflag_t{0});
    EXPECT_EQ(after.c_oflag & OPOST, tcflag_t{0});
    EXPECT_EQ(cfgetospeed(&after), speed_t{B115200});
}

TEST_F(SerialTest, RefusesWhatItCannotOpen) {
    NotedSerial other;
    other.SerialPort = serial_.SerialPort;
    ASSERT_TRUE(other.Open()); // and keeps it to itself
    const auto errorOfOpen = [&] { return serial_.Open() ? 0 : serial_.LastErrorCode(); };
    EXPECT_EQ(errorOfOpen(), EBUSY);
    serial_.Write("dropped");
    serial_.XmitWait();
    other.Close();
    close(std::exchange(master_, -1)); // no other device gets its name while slave_ is open
    EXPECT_EQ(errorOfOpen(), ENOENT);
    serial_.SerialPort = Ref<SerialDevice>::make("/dev/null");
    EXPECT_EQ(errorOfOpen(), ENOTTY);
    serial_.Bits = 2;
    EXPECT_EQ(errorOfOpen(), EINVAL);
    const std::string grouped = testing::TempDir() + "device-" + std::to_string(getpid());
    std::ofstream(grouped).close();
    chmod(grouped.c_str(), 0660);
    if (getuid() == 0) { // root's own group is not suggested
        ASSERT_EQ(chown(grouped.c_str(), 0, 20), 0);
    }
    for (const auto& [path, error, remedy] : {std::tuple(grouped.c_str(), EACCES, ", add the user"),
                                              {"/dev/null", EACCES, "give the user"},
                                              {"/no", EPERM, "give the user"},
                                              {"/no", ENOENT, "check the cable"}})
        EXPECT_GT(InStr(1, explainOpenFailure(SerialDevice(path), {error, std::system_category()}), remedy),
                  0)
            << remedy;
    std::remove(grouped.c_str());
}

// The next program to open the line finds neither unread bytes nor exclusive mode of the one before.
TEST_F(SerialTest, FindsAPseudoTerminalAsNew) {
    PseudoTerminal device;
    bool isOpen = false;
    device.opened = [&] { isOpen = true; };
    device.arrived = [] {};
    device.closed = [&] { isOpen = false; };
    ASSERT_TRUE(device.Open());
    serial_.SerialPort = System::SerialPort(device.path());
    for (const std::string line : {"unread", "new"}) {
        ASSERT_TRUE(serial_.Open());
        ASSERT_TRUE(serveUntil([&] { return isOpen; }));
        device.Write(line);
        device.Flush();
        EXPECT_TRUE(line == "unread" || serveUntil([&] { return serial_.received == line; }))
            << serial_.received;
        serial_.Close();
        ASSERT_TRUE(serveUntil([&] { return !isOpen; }));
    }
    const int other = open(std::string(device.path().view()).c_str(), O_RDWR | O_NOCTTY);
    int isExclusive = -1;
    EXPECT_EQ(ioctl(other, TIOCGEXCL, &isExclusive), 0);
    EXPECT_EQ(isExclusive, 0);
    close(other);
}

TEST_F(SerialTest, GivesUpOnADeviceThatAcceptsNothingForTenSeconds) {
    const FakeClock clock(clocks::kSecond);
    ASSERT_TRUE(serial_.Open());
    const auto start = FakeClock::now;
    serial_.Write(std::string(200'000, 'x'));
    serial_.XmitWait();
    EXPECT_GT(FakeClock::now - start, 10 * clocks::kSecond);
    EXPECT_EQ(serial_.events, "");
    serial_.Poll();
    EXPECT_EQ(serial_.events, "e");
    EXPECT_EQ(serial_.LastErrorCode(), ETIMEDOUT);
}

} // namespace
} // namespace hearthix
