#include "Links.hpp"
#include "runtime/Clock.hpp"

#include <algorithm>
#include <cerrno>
#include <string>
#include <tuple>

namespace hearthix {
namespace {

TEST(TCPSocket, DeliversDataAheadOfTheClose) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{600'000}}) {
        Link link(Over::loopback);
        std::size_t pending = size; // written as the socket takes it, all before the close
        while (pending > 0) {
            pending -= link.far.trySend(std::string(pending, 'x'));
            if (pending > 0)
                ConsoleApplication::DoEvents(1);
        }
        link.far.close();
        EXPECT_TRUE(serveUntil([&] { return link.near->events.ends_with('e'); }));
        EXPECT_EQ(link.near->received.size(), size);
        EXPECT_EQ(link.near->LastErrorCode(), ENOTCONN);
        link.near->Write("into the void");
        link.near->Poll();
        ConsoleApplication::DoEvents(10);
        EXPECT_EQ(link.near->events.find('e'), link.near->events.size() - 1);
    }
}

TEST(TCPSocket, DeliversDataThatCameAheadOfAReset) {
    for (const Over over : {Over::socketPair, Over::loopback}) {
        Link link(over);
        link.near->Write("unread");
        link.near->Poll();
        link.far.send("last words");
        link.far.close(); // resets the connection, as there are bytes to read
        link.near->Write("more");
        EXPECT_TRUE(serveUntil([&] { return link.near->events.ends_with('e'); }));
        EXPECT_EQ(link.near->received, "last words");
        EXPECT_EQ(link.near->events.find('e'), link.near->events.size() - 1);
    }
}

TEST(TCPSocket, TellsAFailureOnlyWhenTheDataEventHasReturned) {
    Link link;
    link.near->onData = [&] {
        link.far.close();
        for (int i = 0; i < 3; ++i)
            link.near->Poll();
        EXPECT_EQ(link.near->events, "d");
    };
    link.far.send("x");
    EXPECT_TRUE(serveUntil([&] { return link.near->events == "de"; }));
}

TEST(TCPSocket, TellsAFailedConnectInALaterPoll) {
    ListeningSocket listener;
    ASSERT_TRUE(listener.Listen("127.0.0.1", 0));
    const Integer closedPort = listener.Port();
    listener.Close();
    // A label of more than 63 letters is no name, and no server is asked for it.
    using Case = std::tuple<String, Integer, Integer>;
    for (const auto& [address, port, error] :
         {Case("127.0.0.1", closedPort, ECONNREFUSED), Case("localhost", closedPort, ECONNREFUSED),
          Case("", 0, EHOSTUNREACH), Case(String(std::string(70, 'a')), 1, EHOSTUNREACH)})
        for (const bool byPoll : {true, false}) {
            const auto socket = Ref<NotedSocket>::make();
            socket->Address = address;
            socket->Port = port;
            socket->Connect();
            socket->Write("dropped");
            EXPECT_EQ(socket->events, "") << address.view();
            for (int turn = 0; turn < 2000 && socket->events.empty(); ++turn)
                byPoll ? socket->Poll() : ConsoleApplication::DoEvents(1);
            EXPECT_EQ(socket->events, "e") << address.view();
            EXPECT_EQ(socket->LastErrorCode(), error) << address.view();
            EXPECT_FALSE(socket->IsConnected());
        }
}

TEST(TCPSocket, ConnectsAgainAfterAFailure) {
    Link link;
    link.far.close();
    EXPECT_TRUE(serveUntil([&] { return link.near->events == "e"; }));
    link.connect("localhost"); // perhaps by way of an address that refuses
    link.near->Write("hello");
    link.near->Close(); // sends what stands in the buffer
    link.near->Close();
    EXPECT_TRUE(serveUntil([&] { return (link.near->received += link.far.take()) == "hello"; }));
    EXPECT_EQ(link.near->events, "ec");
}

TEST(TCPSocket, BoundsTheDepthOfPollsInsideEventsAndLosesNothing) {
    constexpr std::size_t kBytes = 3000;
    for (const bool byPoll : {true, false}) {
        Link link;
        int depth = 0, deepest = 0;
        std::size_t sent = 1;
        link.near->onData = [&] {
            deepest = std::max(deepest, ++depth);
            if (sent++ < kBytes)
                link.far.send("x");
            clocks::sleep(50'000); // a Poll right behind a read would not read
            link.near->Poll();
            --depth;
        };
        link.far.send("x");
        for (std::size_t turn = 0; turn < kBytes && link.near->received.size() < kBytes; ++turn)
            clocks::sleep(50'000), byPoll ? link.near->Poll() : ConsoleApplication::DoEvents(0);
        EXPECT_EQ(link.near->received.size(), kBytes);
        EXPECT_LE(deepest, StreamDevice::kMostNested);
        EXPECT_GT(deepest, 2);
    }
}

TEST(TCPSocket, FailsWhenThePeerNeverReads) {
    Link link;
    const std::string chunk(1024 * 1024, 'x');
    std::size_t most = 0;
    for (int i = 0; i < 200; ++i) {
        link.near->Write(chunk);
        most = std::max(most, link.near->unsentBytes());
    }
    EXPECT_EQ(link.near->events, ""); // never inside Write
    EXPECT_LE(most, StreamDevice::kSendCeiling);
    EXPECT_GT(most, StreamDevice::kSendCeiling / 2);
    EXPECT_EQ(link.near->unsentBytes(), 0U);
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(link.near->events, "e");
    EXPECT_EQ(link.near->LastErrorCode(), ENOBUFS);
}

TEST(TCPSocket, SendsALargeBufferInOrderToASlowReader) {
    Link link;
    std::string sent, got;
    for (int i = 0; sent.size() < 8'000'000; ++i) {
        const std::string piece = std::to_string(i) + ",";
        link.near->Write(piece);
        sent += piece;
    }
    EXPECT_TRUE(serveUntil([&] { return (got += link.far.take()).size() >= sent.size(); }));
    EXPECT_TRUE(got == sent);
    EXPECT_EQ(link.near->events, "");
}

TEST(ListeningSocket, TellsWhyItCannotListen) {
    ListeningSocket first, second;
    ASSERT_TRUE(first.Listen("127.0.0.1", 0));
    using Case = std::pair<String, Integer>;
    for (const auto& [address, port] : {Case("127.0.0.1", first.Port()), Case("nowhere", 0),
                                        Case("127.0.0.1", 65536), Case("127.0.0.1", -1)}) {
        EXPECT_FALSE(second.Listen(address, port));
        EXPECT_FALSE(second.LastError().empty());
        EXPECT_EQ(second.Port(), 0);
    }
}

} // namespace
} // namespace hearthix
