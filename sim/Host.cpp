#include "sim/Host.hpp"

#include "runtime/ConsoleApplication.hpp"
#include "runtime/FolderItem.hpp"
#include "runtime/Numbers.hpp"
#include "sim/PacketTrace.hpp"

#include <cstring>
#include <utility>

namespace hearthix::sim {

namespace {

constexpr Integer kSaveMilliseconds = 1000;
constexpr Integer kRestartMilliseconds = 1000;
// The driver drains its links for about a second when it ends.
constexpr int kPatienceMilliseconds = 3000;
constexpr const char* kForController = "64";

} // namespace

Host::Host(HostSettings settings, HostView& view) : settings_(std::move(settings)), view_(view) {
    server_.connected = [this](const String& id) {
        connectedId_ = id;
        view_.note("host", concat("driver connected, connection ID ", id));
        if (driverConnected)
            driverConnected();
    };
    server_.disconnected = [this](const String& reason) {
        view_.note("host", concat("driver disconnected: ", reason));
    };
    server_.noted = [this](const String& text) { view_.note("host", text); };
    server_.received = [this](const Ref<cHearthixCommand>& packet) { receive(packet); };
    server_.sent = [this](const Ref<cHearthixCommand>& packet) { trace(">", *packet); };
    driver_.printed = [this](const String& line) { view_.note("driver", line); };
    driver_.ended = [this](int status) { driverGone(status); };
    saveSoon_.action = [this] { saveUnits(); };
    restartSoon_.action = [this] { startDriver(); };
}

Host::~Host() = default;

void Host::open() {
    loadUnits();
    server_.listen(settings_.listen.host, settings_.listen.port);
    view_.note("host", concat("listening on ", address().text()));
}

void Host::startDriver() {
    if (settings_.driver.empty())
        return;
    const std::vector<String>& gateway = settings_.transport;
    std::vector<String> arguments{gateway.size() == 1 ? gateway[0] : String("IP"), settings_.listen.host,
                                  Str(server_.port()), settings_.connectionId};
    if (gateway.size() > 1)
        arguments.insert(arguments.end(), gateway.begin(), gateway.end());
    if (!driver_.Start(settings_.driver, arguments))
        throw Failure{concat("cannot start the driver ", settings_.driver, ": ",
                             std::strerror(static_cast<int>(driver_.LastErrorCode())),
                             "; name its program with --driver PATH")};
    ++counts_.driverStarts;
    view_.note("host", concat("driver started, process ", Str(driver_.pid())));
}

void Host::driverGone(int status) {
    view_.note("host", concat("driver ended with status ", Str(status)));
    if (driverEnded)
        driverEnded(status);
    if (settings_.restart && !closing_)
        restartSoon_.setIn(kRestartMilliseconds);
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
    saveUnits();
}

void Host::command(const String& word, const String& address, const String& value) {
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetMulti("mcmd", word);
    packet->SetMulti("addr", address);
    if (!value.empty())
        packet->SetMulti("Valu", value);
    server_.send(packet);
    ++counts_.commands;
    view_.note("command", concat(word, " ", address, value.empty() ? "" : " ", value));
}

void Host::control(const String& word, const String& value) {
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetMulti("mcmd", word);
    if (!value.empty())
        packet->SetMulti("Valu", value);
    server_.send(packet);
}

void Host::controller(const String& letter, const String& data) {
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetCommand(letter);
    packet->SetFlag(kForController);
    if (!data.empty())
        packet->SetRawData(data);
    server_.send(packet);
}

String Host::status() const {
    const String driver = hasDriver() ? concat("driver ", connectedId_) : String("no driver");
    return concat(" host ", address().text(), "  ", driver, "  units ",
                  Str(static_cast<Integer>(model_.units().size())), "  values ", Str(counts_.values));
}

void Host::receive(const Ref<cHearthixCommand>& packet) {
    trace("<", *packet);
    if (packet->Header == "L" && !packet->isMultiPacket) {
        ++counts_.logLines;
        view_.note(concat("log ", Str(packet->LogData)), packet->LogMessage);
    } else if (packet->isMultiPacket) {
        receiveMulti(*packet);
    }
    if (observed)
        observed(*packet);
}

void Host::receiveMulti(const cHearthixCommand& packet) {
    const String word = packet.GetMulti("mcmd");
    if (word == "getUnits") {
        answerUnits();
    } else if (word == "PSrp") {
        view_.note("host", "the driver answers the ping");
    } else {
        const HostModel::Change change = model_.apply(packet);
        const Ref<HostUnit> unit = model_.find(packet.GetMulti("addr"));
        if (change == HostModel::Change::value)
            ++counts_.values;
        if (unit.isNil() || change == HostModel::Change::none)
            view_.note("host", concat("the driver sent ", word, " for an unknown unit '",
                                      packet.GetMulti("addr"), "'"));
        else
            view_.unitChanged(*unit, change);
        unitsChanged();
    }
}

void Host::answerUnits() {
    const auto packet = Ref<cHearthixCommand>::make();
    packet->SetMulti("mcmd", "setUnits");
    packet->SetMulti("DATA", model_.answerForDriver());
    server_.send(packet);
    view_.note("host", concat("told the driver the units, ", Str(static_cast<Integer>(model_.units().size())),
                              " in all"));
}

void Host::trace(const char* direction, const cHearthixCommand& packet) {
    if (!settings_.trace)
        return;
    for (const String& line : traceOf(packet))
        view_.note("trace", concat(direction, " ", line));
}

void Host::loadUnits() {
    if (settings_.unitsFile.empty())
        return;
    const auto file = Ref<FolderItem>::make(settings_.unitsFile);
    if (!file->Exists())
        return;
    const auto document = Ref<CXML>::make();
    document->loadFromFile(file, nullptr);
    model_.load(*document);
    view_.note("host",
               concat(Str(static_cast<Integer>(model_.units().size())), " units from ", settings_.unitsFile));
}

void Host::unitsChanged() {
    if (!settings_.unitsFile.empty() && !saveSoon_.isSet())
        saveSoon_.setIn(kSaveMilliseconds);
}

void Host::saveUnits() {
    if (settings_.unitsFile.empty())
        return;
    try {
        if (model_.document()->SaveToFile(Ref<FolderItem>::make(settings_.unitsFile)))
            return;
    } catch (const RuntimeException&) {
        // The reason is in the log already.
    }
    view_.note("host", concat("the units could not be saved in ", settings_.unitsFile,
                              "; name a file in a folder that can be written with --units FILE"));
}

} // namespace hearthix::sim
