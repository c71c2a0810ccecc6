#include "sim/Host.hpp"

#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/FolderItem.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/Failure.hpp"
#include "sim/InputFile.hpp"
#include "sim/PacketTrace.hpp"
#include "sim/Text.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace hearthix::sim {

namespace {

constexpr Integer kSaveMilliseconds = 1000;
constexpr Integer kLongestPauseMilliseconds = 60'000;
// The driver drains its links for about a second when it ends.
constexpr int kPatienceMilliseconds = 3000;
constexpr const char* kForController = "64";
// The end of the log line that the driver sends when both its links are open.
constexpr std::string_view kReadyEnd = " ready.";

// The driver in this program's folder, or otherwise the one in PATH.
String defaultDriver() {
    const auto beside = Ref<FolderItem>::make(ownExecutable())->Parent()->Child("hearthix-mysensors");
    return beside->Exists() ? beside->ShellPath() : String("hearthix-mysensors");
}

} // namespace

Host::Host(HostSettings settings, HostView& view) : settings_(std::move(settings)), view_(view) {
    server_.connected = [this](const String& id) {
        connectedId_ = id;
        ready_ = false;
        orderPings_ = 0;
        view_.note("host", concat("driver connected, connection ID ", id));
        if (driverConnected)
            driverConnected();
        if (driverProgressed)
            driverProgressed();
    };
    server_.disconnected = [this](const String& reason) {
        view_.note("host", concat("driver disconnected: ", reason));
    };
    server_.noted = [this](const String& text) { view_.note("host", text); };
    server_.received = [this](const Ref<cHearthixCommand>& packet) { receive(packet); };
    server_.sent = [this](const Ref<cHearthixCommand>& packet) { trace(">", *packet); };
    driver_.printed = [this](const String& line) { driverSaid(line); };
    driver_.ended = [this](int status) { driverGone(status); };
    saveSoon_.action = [this] {
        if (!saveUnits())
            view_.note("host", concat("the units could not be saved in ", settings_.unitsFile));
    };
    restartSoon_.action = [this] { startDriver(); };
}

Host::~Host() = default;

void Host::open() {
    loadUnits();
    server_.listen(settings_.listen.host, settings_.listen.port);
    view_.note("host", concat("listening on ", address().text()));
}

void Host::startDriver() {
    const std::vector<String>& gateway = settings_.transport;
    if (gateway.empty())
        return;
    const String driver = settings_.driver.empty() ? defaultDriver() : settings_.driver;
    std::vector<String> arguments{gateway.size() == 1 ? gateway[0] : String("IP"), settings_.listen.host,
                                  Str(server_.port()), settings_.connectionId};
    if (gateway.size() > 1)
        arguments.insert(arguments.end(), gateway.begin(), gateway.end());
    if (!driver_.Start(driver, arguments))
        throw Failure{concat("cannot start the driver ", driver, ": ",
                             std::strerror(static_cast<int>(driver_.LastErrorCode())),
                             "; name its program with --driver PATH")};
    ++counts_.driverStarts;
    closed_ = false;
    lastWords_ = lastLog_ = String();
    view_.note("host", concat("driver started, process ", Str(driver_.pid())));
}

// Reports a stack dump as one line. Neither that nor the line about the exception counts as lastWords_.
void Host::driverSaid(const String& line) {
    const bool begins = line == "stack trace begin";
    const bool ends = line == "done logging the stack";
    if (begins || (stackLines_ >= 0 && !ends)) {
        stackLines_ = begins ? 0 : stackLines_ + 1;
        if (settings_.trace)
            view_.note("driver", line);
    } else if (ends) {
        view_.note("driver", concat("a stack dump of ", Str(std::exchange(stackLines_, -1)), " lines",
                                    settings_.trace ? "" : "; --trace shows them"));
    } else if (!line.empty()) {
        view_.note("driver", line);
        if (lastWords_.empty() || !line.view().starts_with("ended by an unhandled "))
            lastWords_ = line;
    }
}

void Host::driverGone(int status) {
    stackLines_ = -1;
    view_.note("host", concat("driver ended ", endingText(status)));
    if (driverEnded)
        driverEnded(status);
    if (settings_.restart && !closing_)
        restartSoon_.setIn(
            std::exchange(restartPause_, std::min(2 * restartPause_, kLongestPauseMilliseconds)));
}

void Host::close() {
    closing_ = true;
    restartSoon_.cancel();
    if (hasDriver())
        control("close");
    for (int waited = 0; driver_.isRunning() && waited < kPatienceMilliseconds; waited += 20)
        ConsoleApplication::DoEvents(20);
    driver_.Stop();
    saveSoon_.cancel();
    if (!saveUnits())
        throw Failure{concat("the units could not be saved in ", settings_.unitsFile,
                             "; name a file that can be written with --units FILE")};
}

void Host::command(const String& word, const String& address, const String& value) {
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetMulti("mcmd", word);
    packet->SetMulti("addr", address);
    if (!value.empty())
        packet->SetMulti("Valu", value);
    sendInOrder(packet);
    ++counts_.commands;
    view_.note("command", concat(word, " ", address, value.empty() ? "" : " ", value));
}

void Host::control(const String& word, const String& value) {
    closed_ = closed_ || word == "close";
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetMulti("mcmd", word);
    if (!value.empty())
        packet->SetMulti("Valu", value);
    server_.send({packet});
}

void Host::controller(const String& letter, const String& data) {
    const auto packet = Ref<cHearthixCommand>::make();
    closed_ = closed_ || letter == "Q" || letter == "P";
    packet->SetCommand(letter);
    packet->SetFlag(kForController);
    if (!data.empty())
        packet->SetRawData(data);
    letter == "X" ? sendInOrder(packet) : server_.send({packet});
}

// The ping must be in the same write: a later one could be answered before the driver has sent the command
// on.
void Host::sendInOrder(const Ref<cHearthixCommand>& packet) {
    const auto ping = Ref<cHearthixCommand>::make();
    ping->SetMulti("mcmd", "ping");
    orderPings_ += hasDriver() ? 1 : 0;
    server_.send({packet, ping});
}

String Host::reasonOfEnd() const {
    if (!lastWords_.empty())
        return concat("; it printed: ", lastWords_);
    return lastLog_.empty() ? String() : concat("; its last log line was: ", lastLog_);
}

String Host::status() const {
    const String driver = hasDriver() ? concat("driver ", connectedId_) : String("no driver");
    return concat(" ", driver, "  units ", Str(static_cast<Integer>(model_.units().size())), "  values ",
                  Str(counts_.values), "  host ", address().text());
}

void Host::receive(const Ref<cHearthixCommand>& packet) {
    trace("<", *packet);
    bool becomesReady = false;
    if (packet->Header == "L" && !packet->isMultiPacket) {
        ++counts_.logLines;
        lastLog_ = packet->LogMessage;
        model_.hearLog(packet->LogMessage);
        becomesReady = !ready_ && packet->LogMessage.view().ends_with(kReadyEnd);
        ready_ = ready_ || becomesReady;
        view_.note(concat("log ", Str(packet->LogData)), packet->LogMessage);
    } else if (packet->isMultiPacket) {
        receiveMulti(*packet);
    }
    if (becomesReady)
        restartPause_ = kFirstPauseMilliseconds;
    if (becomesReady && driverProgressed)
        driverProgressed();
    if (observed)
        observed(*packet);
}

void Host::receiveMulti(const cHearthixCommand& packet) {
    const String word = packet.GetMulti("mcmd");
    if (word == "getUnits") {
        answerUnits();
    } else if (word == "PSrp" && orderPings_ > 0) {
        if (--orderPings_ == 0 && driverProgressed)
            driverProgressed();
    } else if (word == "PSrp") {
        view_.note("host", "the driver answers the ping");
    } else {
        const HostModel::Change change = model_.apply(packet);
        const Ref<HostUnit> unit = model_.find(packet.GetMulti("addr"));
        if (change == HostModel::Change::value)
            ++counts_.values;
        if (change == HostModel::Change::unknown)
            view_.note("host",
                       concat("the driver sent ", word, " for the unknown unit ", packet.GetMulti("addr")));
        else if (unit.isNil())
            view_.note("host", concat("the driver sent ", word, ", which this host does not know"));
        else if (!hushed_)
            view_.unitChanged(*unit, change);
        unitsChanged();
    }
}

void Host::answerUnits() {
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetMulti("mcmd", "setUnits");
    packet->SetMulti("DATA", model_.answerForDriver());
    server_.send({packet});
    view_.note("host", concat("sent the list of ", Str(static_cast<Integer>(model_.units().size())),
                              " units to the driver"));
}

void Host::trace(const char* direction, const cHearthixCommand& packet) {
    if (!settings_.trace)
        return;
    for (const String& line : traceOf(packet))
        view_.note("trace", concat(direction, " ", line));
}

// Refuses a file that is not a list of units, because it would be overwritten.
void Host::loadUnits() {
    if (settings_.unitsFile.empty())
        return;
    const auto file = Ref<FolderItem>::make(settings_.unitsFile);
    if (!file->Exists() && !file->Parent()->Exists())
        throw Failure{concat("there is no folder for ", settings_.unitsFile,
                             "; make it, or name another file with --units FILE")};
    if (file->Exists())
        requireRegularFile(settings_.unitsFile, "--units");
    const auto stream = BinaryStream::Open(file, false);
    const String content = stream ? stream->Read(stream->Length()) : String();
    const auto document = Ref<CXML>::make();
    try {
        document->loadFromString(content);
        if ((stream.isNil() && file->Exists()) ||
            (!content.empty() && !content.view().starts_with(kKbdbMagic)))
            throw RuntimeException();
    } catch (const RuntimeException&) {
        throw Failure{concat("there are no units in ", settings_.unitsFile,
                             "; name a new file, or one of an earlier run, with --units FILE")};
    }
    model_.load(*document);
    view_.note("host",
               concat(Str(static_cast<Integer>(model_.units().size())), " units from ", settings_.unitsFile));
}

void Host::unitsChanged() {
    if (!settings_.unitsFile.empty() && !saveSoon_.isSet())
        saveSoon_.setIn(kSaveMilliseconds);
}

bool Host::saveUnits() {
    if (settings_.unitsFile.empty())
        return true;
    try {
        return model_.document()->SaveToFile(Ref<FolderItem>::make(settings_.unitsFile));
    } catch (const RuntimeException&) {
        return false; // the log has the reason
    }
}

} // namespace hearthix::sim
