// A host: the link to the driver, the units, the driver's process, and the file of the units.
//
// It reports every event to its view, which must outlive it, and answers the driver. Commands come from the
// user (HostCommands) or from the program that owns it.
#pragma once

#include "sim/Alarm.hpp"
#include "sim/HostModel.hpp"
#include "sim/HostServer.hpp"
#include "sim/HostView.hpp"
#include "sim/SocketAddress.hpp"
#include "sim/system/ChildProcess.hpp"

#include <functional>
#include <vector>

namespace hearthix::sim {

struct HostSettings {
    SocketAddress listen{"127.0.0.1", 20300};
    String connectionId = "SIM";
    String driver; // path, or a name in PATH; empty for the one that belongs to this program
    // The driver's gateway: one word for serial, address and port for TCP; empty if the driver is started
    // elsewhere.
    std::vector<String> transport;
    bool restart = false;
    String unitsFile; // empty for none
    bool trace = false;
};

struct HostCounts {
    Integer values = 0;
    Integer logLines = 0;
    Integer commands = 0;
    Integer driverStarts = 0;
};

class Host {
public:
    Host(HostSettings settings, HostView& view);
    ~Host();

    // Loads the units and listens; raises Failure if that is impossible.
    void open();
    // Starts the driver if the settings name a gateway; raises Failure if that is impossible.
    void startDriver();
    // Asks the driver to end, ends it if it has not done so after three seconds, and saves the units; raises
    // Failure if they cannot be saved.
    void close();

    // A command to a unit: "ON", "OFF", "SetValue", "Qery". A ping follows it, see isInOrder.
    void command(const String& word, const String& address, const String& value = String());
    // A command to the driver itself: "ping", "close", "debug".
    void control(const String& word, const String& value = String());
    // A controller packet, "Q", "P" or "D", or "X" with data for the gateway.
    void controller(const String& letter, const String& data = String());

    const HostModel& model() const noexcept { return model_; }
    const HostCounts& counts() const noexcept { return counts_; }
    HostView& view() noexcept { return view_; }
    bool hasDriver() const noexcept { return server_.hasDriver(); }
    // Whether the driver has opened its gateway, too. A driver that gets a command for a unit earlier ends.
    bool hasReadyDriver() const noexcept { return hasDriver() && ready_; }
    // Whether the driver has sent all earlier commands to the gateway, as the answers to their pings show. A
    // command that is sent before that can overtake them.
    bool isInOrder() const noexcept { return orderPings_ == 0; }
    SocketAddress address() const { return {settings_.listen.host, server_.port()}; }
    Integer driverProcess() const noexcept { return driver_.pid(); }
    void killDriver() const { driver_.Kill(); }
    // Mishaps: the host reads nothing while it stalls, and a dropped link ends the driver.
    void stall(bool on) { server_.stall(on); }
    void dropLink() { server_.drop("dropped, as requested"); }
    void setTransport(const std::vector<String>& transport) { settings_.transport = transport; }
    // Stops showing values.
    void hush() { hushed_ = true; }
    // Whether the driver got a command to end.
    bool hasClosedDriver() const noexcept { return closed_; }
    // The driver's latest output, without its stack dump; empty if it printed nothing.
    const String& lastWords() const noexcept { return lastWords_; }
    // A clause for a message about the driver's end: its latest output, or its latest log line if there is
    // none.
    String reasonOfEnd() const;
    // For the title of a screen: fields with two blanks between them, the least important one last.
    String status() const;

    // Every packet of the driver, after the host has handled it.
    std::function<void(const cHearthixCommand& packet)> observed;
    std::function<void()> driverConnected;
    // Called when the driver has connected, has become ready, or has sent all commands to the gateway.
    std::function<void()> driverProgressed;
    std::function<void(int status)> driverEnded;

private:
    void sendInOrder(const Ref<cHearthixCommand>& packet);
    void receive(const Ref<cHearthixCommand>& packet);
    void receiveMulti(const cHearthixCommand& packet);
    void answerUnits();
    void trace(const char* direction, const cHearthixCommand& packet);
    void driverSaid(const String& line);
    void driverGone(int status);
    void loadUnits();
    // False if they could not be saved.
    bool saveUnits();
    void unitsChanged();

    HostSettings settings_;
    HostView& view_;
    HostModel model_;
    HostServer server_;
    ChildProcess driver_;
    HostCounts counts_;
    Alarm saveSoon_;
    static constexpr Integer kFirstPauseMilliseconds = 1000;
    Integer restartPause_ = kFirstPauseMilliseconds; // grows until a driver becomes ready
    Alarm restartSoon_;
    String connectedId_;
    bool ready_ = false;
    Integer orderPings_ = 0; // pings after commands; their answers have not arrived
    bool closing_ = false;
    bool closed_ = false;
    bool hushed_ = false;
    Integer stackLines_ = -1; // below 0 outside of a stack dump
    String lastWords_;
    String lastLog_;
};

} // namespace hearthix::sim
