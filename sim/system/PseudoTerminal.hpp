// A pseudo-terminal: a serial line that another program opens by its path, with this end as the device.
//
// Several programs can open it, one after the other. The system does not report when the other end is opened,
// so while it is closed this class checks twenty times a second. Bytes that are written meanwhile are
// discarded, and so are bytes that a program has not read before it closed the device.
#pragma once

#include "runtime/events/StreamDevice.hpp"
#include "runtime/events/Timer.hpp"

#include <functional>

namespace hearthix {

class PseudoTerminal : public StreamDevice {
public:
    ~PseudoTerminal() override { HangUp(); }

    // Creates a pseudo-terminal in raw mode. If this returns false, LastErrorCode is the reason.
    bool Open();
    // Destroys it, also for a program that has it open.
    void HangUp();
    // The path of the device; empty while there is none.
    const String& path() const noexcept { return path_; }

    // All three must be set before events run.
    std::function<void()> opened;
    std::function<void()> arrived;
    std::function<void()> closed;

protected:
    ssize_t receive(char* bytes, std::size_t count) override;
    ssize_t transmit(const char* bytes, std::size_t count) override;
    bool shortReadDrains() const noexcept override { return false; }
    void dataArrived() override { arrived(); }
    void failed() override;

private:
    class Watch : public Timer {
    public:
        explicit Watch(PseudoTerminal& terminal) : terminal_(terminal) { setPeriod(50); }
        void Event_Action() override { terminal_.lookForOpener(); }

    private:
        PseudoTerminal& terminal_;
    };

    void lookForOpener();

    int master_ = -1;
    String path_;
    Watch watch_{*this};
};

} // namespace hearthix
