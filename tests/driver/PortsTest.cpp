#include "ports/cIPStreamAbstractor.hpp"
#include "sim/system/ListeningSocket.hpp"
#include "tests/driver/Driver.hpp"

namespace hearthix {
namespace {

class PortsTest : public DriverTest {
protected:
    static Ref<cIPStreamAbstractor> connect(Peer& gateway) {
        ListeningSocket listener;
        EXPECT_TRUE(listener.Listen("127.0.0.1", 0));
        listener.accepted = [&](int descriptor) { gateway.descriptor = descriptor; };
        auto port = Ref<cIPStreamAbstractor>::make("127.0.0.1", listener.Port(), [] {});
        EXPECT_TRUE(serveUntil([&] { return gateway.descriptor >= 0; }));
        gateway.close();
        gateway.pairWith(*port); // transfers bytes at once
        return port;
    }
};

TEST_F(PortsTest, LogWhatTheyDiscardInDebugMode) {
    Peer gateway;
    const auto stream = connect(gateway);
    gateway.send("early");
    EXPECT_THROW(ConsoleApplication::DoEvents(1000), NilObjectException); // there is no receiver
    Globals::DebugMode = true;
    stream->PortFlush();
    EXPECT_EQ(sent(), test::Packets{test::log("port flush reads 5 bytes.", 4)});
    stream->PortClear();
    stream->PortSendData("dropped");
    EXPECT_FALSE(Globals::DoQuit);
}

TEST_F(PortsTest, DeliverABacklogInTurnsAndBeforeTheFailure) {
    struct Receiver : iAbstractPortReceiver {
        void PortDataAvailable(const String& data) override { sizes.push_back(data.size()); }
        void PortError(const String&, Integer) override { sizes.push_back(0); }
        std::vector<std::size_t> sizes;
    };
    for (const bool failsEarly : {false, true}) {
        Peer gateway;
        const auto port = connect(gateway);
        const FakeClock clock;
        const auto receiver = Ref<Receiver>::make();
        port->PortSetParent(receiver);
        std::vector<std::size_t> expected(100, StreamDevice::kReadBudget);
        expected.push_back(0);
        const std::string bytes(100 * StreamDevice::kReadBudget, 'x');
        ASSERT_EQ(gateway.send(bytes), bytes.size());
        if (failsEarly) // the port fails before it reads
            port->PortSendData(String(std::string(StreamDevice::kSendCeiling + 1, 'x')));
        else
            gateway.close();
        EXPECT_TRUE(serveUntil([&] { return !receiver->sizes.empty() && receiver->sizes.back() == 0; }));
        EXPECT_EQ(receiver->sizes, expected);
    }
}

} // namespace
} // namespace hearthix
