#include "ports/cIPStreamAbstractor.hpp"
#include "ports/cSerialPortAbstractor.hpp"
#include "tests/driver/Driver.hpp"

#include <cerrno>
#include <string>

#include <pty.h>

namespace hearthix {
namespace {

class Receiver : public iAbstractPortReceiver {
public:
    std::string received;
    Integer error = 0;

    void PortDataAvailable(const String& data) override { received += data.view(); }
    void PortError(const String& message, Integer code) override {
        EXPECT_TRUE(message.empty());
        error = code;
    }
};

int connections = 0;

class PortsTest : public DriverTest {
protected:
    Ref<Receiver> receiver_ = Ref<Receiver>::make();
};

TEST_F(PortsTest, AStreamPortServesItsReceiver) {
    ListeningSocket listener;
    ASSERT_TRUE(listener.Listen("127.0.0.1", 0));
    Peer gateway;
    listener.accepted = [&](int descriptor) { gateway.descriptor = descriptor; };
    connections = 0;
    const auto port = Ref<cIPStreamAbstractor>::make("127.0.0.1", listener.Port(), [] { ++connections; });
    EXPECT_TRUE(serveUntil([&] { return gateway.descriptor >= 0; }));
    EXPECT_TRUE(port->IsConnected() && port->InitialFlush);
    EXPECT_EQ(connections, 1);

    gateway.send("early");
    EXPECT_THROW(serveUntil([] { return false; }), NilObjectException); // nobody to give it to
    Globals::DebugMode = true;
    port->PortFlush();
    port->PortFlush();
    EXPECT_EQ(sent(), (test::Packets{test::log("port flush reads 5 bytes.", 4),
                                     test::log("port flush reads 0 bytes.", 4)}));
    port->PortSetParent(receiver_);
    gateway.close();
    EXPECT_TRUE(serveUntil([&] { return receiver_->error == ENOTCONN; }));
    port->PortClear();
    port->PortClose();
    port->PortSendData("dropped");
    EXPECT_TRUE(port->Parent.isNil());
    EXPECT_FALSE(Globals::DoQuit);
}

TEST_F(PortsTest, ASerialPortServesItsReceiver) {
    int master = -1, slave = -1;
    char path[128] = "";
    ASSERT_EQ(openpty(&master, &slave, path, nullptr, nullptr), 0);
    const auto port = Ref<cSerialPortAbstractor>::make(path);
    EXPECT_FALSE(Globals::DoQuit);
    EXPECT_TRUE(port->DataTerminalReady);
    ASSERT_EQ(write(master, "early", 5), 5);
    EXPECT_THROW(serveUntil([] { return false; }), NilObjectException);
    Globals::DebugMode = true;
    port->PortFlush(); // reads nothing
    EXPECT_EQ(sent(), (test::Packets{test::log("port flush empty", 4)}));
    port->PortSetParent(receiver_);
    port->PortPoll();
    EXPECT_EQ(receiver_->received, "early");
    port->PortSendData("line\n"); // waits until it has left
    char bytes[16] = "";
    EXPECT_EQ(read(master, bytes, sizeof bytes), 5);
    port->PortClear();
    EXPECT_TRUE(port->Parent.isNil());
    EXPECT_TRUE(port->PortOpen());
    port->PortSetParent(receiver_);
    close(slave);
    close(master);
    EXPECT_TRUE(serveUntil([&] { return receiver_->error != 0; }));
}

} // namespace
} // namespace hearthix
