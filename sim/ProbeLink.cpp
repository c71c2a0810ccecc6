#include "sim/ProbeLink.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

namespace hearthix::sim {

namespace {

constexpr Integer kTickMilliseconds = 5;
constexpr int kGiveUpTicks = 1000;
// The number of ticks without data that count as a pause. For a long packet it is higher: the sender may lose
// the processor while the system copies the packet.
constexpr int kPauseTicks = 2;
constexpr int kLongPauseTicks = 10;
constexpr std::size_t kShortPacket = 4096;
constexpr std::size_t kMultiHeader = 4;
constexpr std::size_t kCommonSize = 16;
constexpr unsigned char kCarriageReturn = 13;
constexpr std::size_t kEntryHeader = 6;
constexpr Integer kLongestLine = 249;
constexpr std::string_view kCommonTypes = "XYNM";

bool isMulti(const String& bytes) {
    return LeftB(bytes, 1) == "J";
}

bool isOneOf(std::string_view letters, const String& bytes) {
    const char capital = static_cast<char>(bytes.byteAt(0) & 0xDFU);
    return letters.find(capital) != std::string_view::npos;
}

std::size_t number(const String& bytes, std::size_t at, bool littleEndian) {
    const std::size_t first = bytes.byteAt(at), second = bytes.byteAt(at + 1);
    return littleEndian ? first + 256 * second : 256 * first + second;
}

// Whether the values fill the packet to its last byte.
bool hasWholeEntries(const String& packet) {
    std::size_t at = kMultiHeader;
    while (at + kEntryHeader <= packet.size())
        at += kEntryHeader + number(packet, at + 4, packet.byteAt(3) >= 128);
    return at == packet.size();
}

bool looksWhole(const String& bytes) {
    return isMulti(bytes) ? bytes.size() >= kMultiHeader && hasWholeEntries(bytes)
                          : bytes.size() >= kCommonSize && bytes.byteAt(bytes.size() - 1) == kCarriageReturn;
}

String count(std::size_t bytes) {
    return Str(static_cast<std::uint64_t>(bytes));
}

} // namespace

ProbeLink::ProbeLink(Verdicts& verdicts) : verdicts_(verdicts) {
    tick_.action = [this] { noteQuiet(); };
}

void ProbeLink::open(const SocketAddress& host, const String& connectionId) {
    connectionId_ = connectionId;
    Address = host.host;
    Port = host.port;
    Connect();
}

void ProbeLink::end() {
    ended_ = true;
    tick_.cancel();
    Close();
}

void ProbeLink::send(const std::vector<std::pair<const char*, String>>& entries) {
    cHearthixCommand packet;
    for (const auto& [key, value] : entries)
        packet.SetMulti(key, value);
    Write(packet.GetRawCommand());
    Flush();
}

void ProbeLink::log(const String& text, Integer level) {
    const String line = LeftB(text, kLongestLine);
    Write(concat("L", ChrB(LenB(line) + 3), ChrB(level), line));
    Flush();
}

void ProbeLink::Event_Connected() {
    Write(concat("MYSENSORS:", connectionId_, "\r"));
}

void ProbeLink::Event_Error(const RuntimeException&) {
    if (!buffer_.empty() && !ended_)
        giveUp(looksWhole(buffer_) ? Rule::lengths : Rule::wholePackets, "the link ended inside a packet");
    end();
}

void ProbeLink::Event_DataAvailable() {
    buffer_ += ReadAll();
    ++reads_;
    quietTicks_ = 0;
    lastByteAt_ = clocks::monotonic();
    while (!ended_ && !buffer_.empty() && takePacket())
        pause_ = 0;
    if (!ended_ && !buffer_.empty() && !tick_.isSet())
        tick_.setIn(kTickMilliseconds);
}

void ProbeLink::noteQuiet() {
    if (buffer_.empty())
        return;
    tick_.setIn(kTickMilliseconds);
    const clocks::Nanoseconds quiet = clocks::monotonic() - lastByteAt_;
    const bool isLong = isMulti(buffer_) && buffer_.size() > 2 && number(buffer_, 1, true) > kShortPacket;
    if (++quietTicks_ >= (isLong ? kLongPauseTicks : kPauseTicks) && quiet > pause_) {
        pause_ = quiet;
        pauseAfter_ = buffer_.size();
    }
    if (quietTicks_ >= kGiveUpTicks)
        giveUp(looksWhole(buffer_) ? Rule::lengths : Rule::wholePackets,
               concat("after ", count(buffer_.size()), " bytes the rest of the packet did not arrive"));
}

// Always returns false.
bool ProbeLink::giveUp(Rule rule, const String& what) {
    verdicts_.broken(rule, buffer_, what);
    givenUp_ = true;
    end();
    return false;
}

// Removes a packet from the buffer and judges it. Returns false if no complete packet is left.
bool ProbeLink::takePacket() {
    const bool multi = isMulti(buffer_), isLog = isOneOf("L", buffer_);
    const bool isKnown = multi || isLog || isOneOf(kCommonTypes, buffer_);
    if (buffer_.size() < (multi ? 3U : 2U))
        return false;
    const std::size_t length = multi ? number(buffer_, 1, true) : buffer_.byteAt(1);
    if (length < (multi ? kMultiHeader : isKnown && !isLog ? kCommonSize : 2U))
        return giveUp(isKnown ? Rule::lengths : Rule::packetTypes,
                      concat("the length in the packet is ", count(length), " bytes"));
    if (buffer_.size() < length)
        return false;
    const String bytes = buffer_.cut(0, length);
    if (!isKnown)
        verdicts_.broken(Rule::packetTypes, bytes, "the packet has no known type");
    else if (isLog)
        verdicts_.broken(Rule::noLogPackets, bytes, "the host sent a log packet");
    else if (!(multi ? takeMulti(bytes) : takeCommon(bytes)))
        return false;
    if (pause_ > 0)
        verdicts_.broken(Rule::wholePackets, bytes,
                         concat("there was a pause of ", Str(pause_ / clocks::kMillisecond),
                                " milliseconds after ", count(pauseAfter_), " bytes of the packet"));
    buffer_ = ended_ ? String() : buffer_.cut(length);
    return true;
}

bool ProbeLink::takeCommon(const String& bytes) {
    cHearthixCommand packet;
    packet.InitFromCommonMessage(bytes);
    // The last byte of such a packet is part of a number and not a carriage return.
    const bool hasOpenEnd = packet.Header == "M" || packet.InterfaceType == "P";
    if (!hasOpenEnd && bytes.byteAt(bytes.size() - 1) != kCarriageReturn)
        return giveUp(Rule::lengths, concat("the packet does not end after the ", count(bytes.size()),
                                            " bytes of its length"));
    if (!packet.fCCM)
        verdicts_.broken(Rule::bit64, bytes, "bit 64 of the flags is not set");
    received(packet, reads_);
    return true;
}

bool ProbeLink::takeMulti(const String& bytes) {
    if (!hasWholeEntries(bytes))
        return giveUp(Rule::lengths, concat("the values do not fill the ", count(bytes.size()),
                                            " bytes of the packet, or exceed them"));
    cHearthixCommand packet;
    packet.initFromMultiPacket(bytes);
    for (const Rule rule :
         {Rule::wholePackets, Rule::lengths, Rule::packetTypes, Rule::bit64, Rule::noLogPackets})
        verdicts_.kept(rule);
    received(packet, reads_);
    return true;
}

} // namespace hearthix::sim
