// A Process as a source of events. What the program prints, on standard output and standard error alike,
// arrives line by line. A child that still runs when its object is destroyed is ended.
#pragma once

#include "runtime/events/StreamDevice.hpp"
#include "runtime/events/Timer.hpp"
#include "sim/system/Process.hpp"

#include <csignal>
#include <functional>
#include <vector>

namespace hearthix {

class ChildProcess : public StreamDevice {
public:
    ~ChildProcess() override { Stop(); }

    // A path, or a name that PATH leads to; the arguments without it. False leaves the reason in
    // LastErrorCode.
    bool Start(const String& path, const std::vector<String>& arguments);
    bool isRunning() const noexcept { return process_.id() > 0; }
    Integer pid() const noexcept { return process_.id(); }
    // Asks the program to end, kills it after two seconds, and waits for its end. No event runs meanwhile.
    void Stop();
    // Ends the program at once, without asking; ended is called as usual.
    void Kill() const { process_.signal(SIGKILL); }

    // Both may stay unset.
    std::function<void(const String& line)> printed;
    // Receives the exit status, or 128 plus the signal's number. May start the object again.
    std::function<void(int status)> ended;

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    bool shortReadDrains() const noexcept override { return false; }
    void dataArrived() override;
    void failed() override;

private:
    // The end of a program's output comes shortly before its end.
    class Reaper : public Timer {
    public:
        explicit Reaper(ChildProcess& child) : child_(child) {}
        void Event_Action() override { child_.reap(); }

    private:
        ChildProcess& child_;
    };

    void reap();

    Process process_;
    String partialLine_;
    Reaper reaper_{*this};
};

// The path of the program that is running.
String ownExecutable();

} // namespace hearthix
