// A program that this one starts and ends.
//
// What the program prints, on standard output and standard error alike, comes back line by line; its standard
// input is empty. It is in a process group of its own: Ctrl-C at the terminal reaches only the program
// that started it, which then ends it in good order. A child still running when its object goes is ended.
#pragma once

#include "runtime/events/StreamDevice.hpp"
#include "runtime/events/Timer.hpp"

#include <functional>
#include <vector>

namespace hearthix {

class ChildProcess : public StreamDevice {
public:
    ~ChildProcess() override { Stop(); }

    // A path, or a name that PATH leads to; the arguments without it. False leaves the reason in
    // LastErrorCode.
    bool Start(const String& path, const std::vector<String>& arguments);
    bool isRunning() const noexcept { return pid_ > 0; }
    Integer pid() const noexcept { return pid_; }
    // Ends the program and waits for that: asks first, and insists after two seconds. No event runs.
    void Stop();
    // Ends the program at once and without asking; ended tells.
    void Kill() const;

    // Either may stay unset.
    std::function<void(const String& line)> printed;
    // With the exit status, or 128 and the signal's number. The object may be started again inside.
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

    int pid_ = -1;
    String partialLine_;
    Reaper reaper_{*this};
};

// The path of the program that is running.
String ownExecutable();

} // namespace hearthix
