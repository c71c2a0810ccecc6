#include "runtime/Serial.hpp"

#include "Links.hpp"
#include "runtime/Clock.hpp"
#include "runtime/StringFunctions.hpp"

#include <cerrno>
#include <string>

#include <pty.h>

namespace hearthix {
namespace {

class NotedSerial : public Serial {
public:
    std::string events;
    std::string received;

    void Event_DataAvailable() override {
        events += 'd';
        received += ReadAll().view();
    }
    void Event_Error() override { events += 'e'; }
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
    ~SerialTest() override { hangUp(); }

    void hangUp() {
        for (int* end : {&slave_, &master_})
            if (*end >= 0)
                close(std::exchange(*end, -1));
    }

    int master_ = -1;
    int slave_ = -1;
    String name_;
    NotedSerial serial_;
};

TEST_F(SerialTest, CarriesEveryByteUnchangedBothWays) {
    serial_.DataTerminalReady = true;
    ASSERT_TRUE(serial_.Open());
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    ASSERT_EQ(write(master_, all.data(), all.size()), 256);
    EXPECT_TRUE(serveUntil([&] { return serial_.received.size() == all.size(); }));
    EXPECT_EQ(serial_.received, all);
    serial_.Write(all);
    serial_.XmitWait();
    EXPECT_EQ(serial_.unsentBytes(), 0U);
    std::string got(512, '\0');
    got.resize(static_cast<std::size_t>(std::max<ssize_t>(read(master_, got.data(), got.size()), 0)));
    EXPECT_EQ(got, all);
}

TEST_F(SerialTest, FindsTerminalsOnly) {
    EXPECT_EQ(System::SerialPort(name_)->path().view(), name_.view());
    EXPECT_EQ(System::SerialPort(NthField(name_, "/", 4))->path().view(), name_.view()); // below /dev/pts
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
    serial_.Bits = 2;
    EXPECT_FALSE(serial_.Open());
    EXPECT_EQ(serial_.LastErrorCode(), EINVAL);
}

TEST_F(SerialTest, TellsAHangUpOnce) {
    ASSERT_TRUE(serial_.Open());
    hangUp();
    EXPECT_TRUE(serveUntil([&] { return !serial_.events.empty(); }));
    ConsoleApplication::DoEvents(20);
    serial_.Poll();
    EXPECT_EQ(serial_.events, "e");
    EXPECT_NE(serial_.LastErrorCode(), 0);
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
