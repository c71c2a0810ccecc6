// A pseudo-terminal: a serial line that another program opens by its path, with this end as the device.
//
// It outlives the programs that open it, one after the other. A pseudo-terminal doesn't tell when its other
// end is opened, so while nobody has it open it is asked, twenty times a second. What is written then is
// dropped, as on a cable that leads nowhere, and so is what an opener left unread.
#pragma once

#include "runtime/events/StreamDevice.hpp"
#include "runtime/events/Timer.hpp"

#include <functional>

namespace hearthix {

class PseudoTerminal : public StreamDevice {
public:
    ~PseudoTerminal() override { HangUp(); }

    // Makes a new one, raw. False leaves the reason in LastErrorCode.
    bool Open();
    // Ends it, for whoever has it open too.
    void HangUp();
    // The device to open; empty while there is none.
    const String& path() const noexcept { return path_; }

    // All three have to be set by the time that events run.
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
