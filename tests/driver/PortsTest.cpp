#include "ports/cIPStreamAbstractor.hpp"
#include "ports/cSerialPortAbstractor.hpp"
#include "tests/driver/Driver.hpp"

#include <pty.h>

namespace hearthix {
namespace {

class PortsTest : public DriverTest {};

TEST_F(PortsTest, AStreamPortTellsWhatItDrops) {
    ListeningSocket listener;
    ASSERT_TRUE(listener.Listen("127.0.0.1", 0));
    Peer gateway;
    listener.accepted = [&](int descriptor) { gateway.descriptor = descriptor; };
    const auto port = Ref<cIPStreamAbstractor>::make("127.0.0.1", listener.Port(), [] {});
    EXPECT_TRUE(serveUntil([&] { return gateway.descriptor >= 0; }));
    EXPECT_TRUE(port->IsConnected() && port->InitialFlush);
    gateway.send("early");
    EXPECT_THROW(serveUntil([] { return false; }), NilObjectException); // nobody to give it to
    Globals::DebugMode = true;
    port->PortFlush();
    port->PortFlush();
    EXPECT_EQ(sent(), (test::Packets{test::log("port flush reads 5 bytes.", 4),
                                     test::log("port flush reads 0 bytes.", 4)}));
    port->PortClear();
    port->PortSendData("dropped");
    EXPECT_FALSE(Globals::DoQuit);
}

TEST_F(PortsTest, ASerialPortOpensAgain) {
    int master = -1, slave = -1;
    char path[128] = "";
    ASSERT_EQ(openpty(&master, &slave, path, nullptr, nullptr), 0);
    const auto port = Ref<cSerialPortAbstractor>::make(path);
    EXPECT_TRUE(port->DataTerminalReady && !Globals::DoQuit);
    Globals::DebugMode = true;
    port->PortFlush(); // reads nothing
    EXPECT_EQ(sent(), (test::Packets{test::log("port flush empty", 4)}));
    port->PortClear();
    EXPECT_TRUE(port->Parent.isNil() && port->PortOpen());
    close(slave);
    close(master);
}

} // namespace
} // namespace hearthix
