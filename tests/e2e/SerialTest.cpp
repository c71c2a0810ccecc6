// What is particular to a gateway on a serial line.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <termios.h>

namespace hearthix::test {

namespace {

TEST(SerialLine, IsRawAt115200Baud8N1) {
    const Conversation talk(Transport::serial);
    termios settings{};
    ASSERT_EQ(tcgetattr(talk.gateway.descriptor(), &settings), 0);
    EXPECT_EQ(cfgetospeed(&settings), speed_t{B115200});
    EXPECT_EQ(settings.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS), tcflag_t{CS8});
    EXPECT_EQ(settings.c_lflag & (ECHO | ICANON | ISIG | IEXTEN), tcflag_t{0});
    EXPECT_EQ(settings.c_oflag & OPOST, tcflag_t{0});
    EXPECT_EQ(settings.c_iflag & (IXON | IXOFF | ICRNL | INLCR | IGNCR | ISTRIP), tcflag_t{0});
}

TEST(SerialLine, ThatCannotBeHadEndsTheDriver) {
    const Conversation owner(Transport::serial);
    const std::string unknown = "mySensors: unable to find a serial port named: ";
    for (const auto& [device, words] :
         {std::pair<std::string, std::string>{"/dev/hearthix-none", unknown},
          {"no such port", unknown},
          {"/dev/null", unknown},
          {"/etc/hostname", unknown},
          {owner.gateway.device(), "mySensors: unable to open the port named: "}}) {
        FakeHost host;
        DriverProcess driver({device, "127.0.0.1", host.port(), "7"});
        host.accept();
        EXPECT_EQ(host.untilEnd(), Packets{log(words + device, 4)}); // and no ready text
        const Ending ending = driver.end();
        EXPECT_EQ(ending.status, 0) << device;
        EXPECT_EQ(ending.output, "") << device;
    }
}

} // namespace

} // namespace hearthix::test
