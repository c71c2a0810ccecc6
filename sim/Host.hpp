// A whole host: the link, the units, the driver that it starts, and the file in which the units are kept.
//
// It tells everything that happens to its view and does nothing by itself but answer the driver; commands
// come from a person (HostCommands) or from the program around it. The view must outlive it.
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
    // The driver's gateway: one word for serial, address and port for TCP; empty when somebody else starts
    // it.
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

    // Loads the units and listens; raises Failure when one of them can't be done.
    void open();
    // Starts the driver of the settings, if there is one; raises Failure when it can't be started.
    void startDriver();
    // Asks the driver to end, waits a little for that, ends it otherwise, and saves the units; raises
    // Failure when they can't be saved.
    void close();

    // A command to a unit: "ON", "OFF", "SetValue", "Qery".
    void command(const String& word, const String& address, const String& value = String());
    // A command to the driver itself: "ping", "close", "debug".
    void control(const String& word, const String& value = String());
    // A controller packet, "Q", "P" or "D", or "X" with data for the gateway.
    void controller(const String& letter, const String& data = String());

    const HostModel& model() const noexcept { return model_; }
    const HostCounts& counts() const noexcept { return counts_; }
    HostView& view() noexcept { return view_; }
    bool hasDriver() const noexcept { return server_.hasDriver(); }
    // Whether the driver has its gateway, too. A driver that gets a command for a unit before that ends.
    bool hasReadyDriver() const noexcept { return hasDriver() && ready_; }
    SocketAddress address() const { return {settings_.listen.host, server_.port()}; }
    Integer driverProcess() const noexcept { return driver_.pid(); }
    void killDriver() const { driver_.Kill(); }
    // Mishaps: nothing is read while it stalls, and a dropped link ends the driver.
    void stall(bool on) { server_.stall(on); }
    void dropLink() { server_.drop("dropped, as asked for"); }
    void setTransport(const std::vector<String>& transport) { settings_.transport = transport; }
    // No more values are shown.
    void hush() { hushed_ = true; }
    // Whether the driver was told to end.
    bool hasClosedDriver() const noexcept { return closed_; }
    // What the driver said last beside its log and its stack dump; empty when it said nothing.
    const String& lastWords() const noexcept { return lastWords_; }
    // For the title of a screen: fields with two blanks between, the last one first to go when they don't
    // fit.
    String status() const;

    // Every packet of the driver, when the host has dealt with it.
    std::function<void(const cHearthixCommand& packet)> observed;
    std::function<void()> driverConnected;
    // It has connected, or become ready.
    std::function<void()> driverProgressed;
    std::function<void(int status)> driverEnded;

private:
    void receive(const Ref<cHearthixCommand>& packet);
    void receiveMulti(const cHearthixCommand& packet);
    void answerUnits();
    void trace(const char* direction, const cHearthixCommand& packet);
    void driverSaid(const String& line);
    void driverGone(int status);
    void loadUnits();
    // False when they could not be saved.
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
    bool closing_ = false;
    bool closed_ = false;
    bool hushed_ = false;
    Integer stackLines_ = -1; // below 0 outside of a stack dump
    String lastWords_;
};

} // namespace hearthix::sim
