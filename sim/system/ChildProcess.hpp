// A Process as a source of events. The output of the program, from standard output and standard error,
// arrives line by line. The destructor ends a program that is still running.
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

    // The program is a path, or a name that is looked up in PATH. It is not part of the arguments. If this
    // returns false, LastErrorCode is the reason.
    bool Start(const String& path, const std::vector<String>& arguments);
    bool isRunning() const noexcept { return process_.id() > 0; }
    Integer pid() const noexcept { return process_.id(); }
    // Requests that the program end, kills it after two seconds, and waits for its end. Runs no events
    // meanwhile.
    void Stop();
    // Kills the program. ended is called as usual.
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
    // The output of a program ends shortly before the program itself.
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
