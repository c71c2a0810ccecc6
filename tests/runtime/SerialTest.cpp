#include "runtime/events/Serial.hpp"

#include "Links.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/system/PseudoTerminal.hpp"

#include <cerrno>
#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

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

TEST_F(SerialTest, FindsTerminalsOnly) {
    EXPECT_EQ(System::SerialPort(name_)->path().view(), name_.view());
    EXPECT_EQ(System::SerialPort(NthField(name_, "/", 4))->path().view(), name_.view()); // below /dev/pts
    EXPECT_FALSE(System::SerialPort("tty").isNil()); // the only one of its driver
    for (const char* name :
         {"", "no-such-port", "/dev/no-such-port", "/dev/null", "null", "/etc/passwd", "/dev"})
        EXPECT_TRUE(System::SerialPort(name).isNil()) << name;
    EXPECT_TRUE(System::SerialPort(name_ + String(std::string_view("\0x", 2))).isNil());
}

TEST_F(SerialTest, RefusesWhatItCannotOpen) {
    NotedSerial other;
    other.SerialPort = serial_.SerialPort;
    ASSERT_TRUE(other.Open()); // and keeps it to itself
    EXPECT_FALSE(serial_.Open());
    EXPECT_EQ(serial_.LastErrorCode(), EBUSY);
    serial_.Write("dropped");
    serial_.XmitWait();
    other.Close();
    close(std::exchange(master_, -1)); // its name isn't given to anybody else while slave_ is open
    EXPECT_FALSE(serial_.Open());
    EXPECT_EQ(serial_.LastErrorCode(), ENOENT);
    serial_.SerialPort = Ref<SerialDevice>::make("/dev/null");
    EXPECT_FALSE(serial_.Open());
    EXPECT_EQ(serial_.LastErrorCode(), ENOTTY);
    serial_.Bits = 2;
    EXPECT_FALSE(serial_.Open());
    EXPECT_EQ(serial_.LastErrorCode(), EINVAL);
    const std::string grouped = testing::TempDir() + "device-" + std::to_string(getpid());
    std::ofstream(grouped).close();
    chmod(grouped.c_str(), 0660);
    if (getuid() == 0) { // whose own group is none to join
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

// Neither what the one before left unread nor its exclusive mode stays for the next one to open the line.
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

// The one slow test: the ten seconds pass, and perhaps once more, as the system may make room late.
TEST_F(SerialTest, GivesUpOnADeviceThatTakesNothingForTenSeconds) {
    ASSERT_TRUE(serial_.Open());
    const auto start = clocks::monotonic();
    serial_.Write(std::string(200'000, 'x'));
    serial_.XmitWait();
    EXPECT_GE(clocks::monotonic() - start, clocks::Nanoseconds{9'900'000'000});
    EXPECT_EQ(serial_.events, "");
    serial_.Poll();
    EXPECT_EQ(serial_.events, "e");
    EXPECT_EQ(serial_.LastErrorCode(), ETIMEDOUT);
}

} // namespace
} // namespace hearthix
