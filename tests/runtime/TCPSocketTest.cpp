#include "Links.hpp"
#include "runtime/Clock.hpp"

#include <algorithm>
#include <cerrno>
#include <string>
#include <tuple>

namespace hearthix {
namespace {

bool waitForError(const Link& link) {
    return serveUntil([&] { return link.near->events.ends_with('e'); });
}

TEST(TCPSocket, DeliversDataAheadOfTheClose) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{600'000}}) {
        Link link;
        link.connect("127.0.0.1");
        for (std::size_t sent = 0; sent < size; ConsoleApplication::DoEvents(1))
            sent += link.far.send(std::string(size - sent, 'x'));
        link.far.close();
        EXPECT_TRUE(waitForError(link));
        EXPECT_EQ(link.near->received.size(), size);
        EXPECT_EQ(link.near->LastErrorCode(), ENOTCONN);
        link.near->Write("into the void");
        link.near->Poll();
        ConsoleApplication::DoEvents(10);
        EXPECT_EQ(std::count(link.near->events.begin(), link.near->events.end(), 'e'), 1);
    }
}

TEST(TCPSocket, DeliversDataThatCameAheadOfAReset) {
    for (const bool overLoopback : {false, true}) {
        Link link;
        if (overLoopback)
            link.connect("127.0.0.1");
        link.near->Write("unread");
        link.near->Poll();
        link.far.send("last words");
        link.far.close(); // resets the connection, as there are bytes to read
        link.near->Write("more");
        EXPECT_TRUE(waitForError(link));
        EXPECT_EQ(link.near->received, "last words");
    }
}

TEST(TCPSocket, TellsAFailureOnlyWhenTheDataEventHasReturned) {
    Link link;
    link.near->onData = [&] {
        link.far.close();
        clocks::sleep(50'000); // a Poll right behind a read would not read
        link.near->Poll();
        EXPECT_EQ(link.near->events, "d");
    };
    link.far.send("x");
    EXPECT_TRUE(waitForError(link));
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
            NotedSocket socket;
            socket.Address = address;
            socket.Port = port;
            socket.Connect();
            socket.Write("dropped");
            EXPECT_EQ(socket.events, "") << address.view();
            for (int turn = 0; turn < 2000 && socket.events.empty(); ++turn)
                byPoll ? socket.Poll() : ConsoleApplication::DoEvents(1);
            EXPECT_EQ(socket.events, "e") << address.view();
            EXPECT_EQ(socket.LastErrorCode(), error) << address.view();
        }
}

TEST(TCPSocket, ConnectsAgainAfterAFailure) {
    Link link;
    link.far.close();
    EXPECT_TRUE(waitForError(link));
    link.connect("localhost"); // perhaps by way of an address that refuses
    link.near->Write("hello");
    link.near->Close(); // sends what stands in the buffer
    link.near->Close();
    EXPECT_TRUE(serveUntil([&] { return (link.near->received += link.far.take()) == "hello"; }));
    EXPECT_EQ(link.near->events, "ec");
}

TEST(TCPSocket, BoundsTheDepthOfPollsInsideEventsAndLosesNothing) {
    constexpr std::size_t kBytes = 2000;
    for (const bool byPoll : {true, false}) {
        Link link;
        int depth = 0, deepest = 0;
        std::size_t sent = 1;
        link.near->onData = [&] {
            deepest = std::max(deepest, ++depth);
            if (sent++ < kBytes)
                link.far.send("x");
            clocks::sleep(50'000);
            link.near->Poll();
            --depth;
        };
        link.far.send("x");
        for (std::size_t turn = 0; turn < kBytes && link.near->received.size() < kBytes; ++turn) {
            clocks::sleep(50'000);
            byPoll ? link.near->Poll() : ConsoleApplication::DoEvents(0);
        }
        EXPECT_EQ(link.near->received.size(), kBytes);
        EXPECT_LE(deepest, StreamDevice::kMostNested);
        EXPECT_GT(deepest, 2);
    }
}

TEST(TCPSocket, FailsWhenThePeerNeverReads) {
    Link link;
    const std::string chunk(1024 * 1024, 'x');
    std::size_t most = 0;
    for (int i = 0; i < 80; ++i) {
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
    for (int i = 0; sent.size() < 4'000'000; ++i) {
        const std::string piece = std::to_string(i) + ",";
        link.near->Write(piece);
        sent += piece;
    }
    EXPECT_TRUE(serveUntil([&] { return (got += link.far.take()).size() >= sent.size(); }));
    EXPECT_TRUE(got == sent);
}

} // namespace
} // namespace hearthix
