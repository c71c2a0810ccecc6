// Standard input as a source of events. Bytes are handed on as they come: lines are the reader's affair.
//
// The descriptor is shared with whoever started the program, so it stays in blocking mode; it is read once
// each time that the system says there is something.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <functional>
#include <string_view>

namespace hearthix {

class ConsoleInput : public EventSource {
public:
    ~ConsoleInput() override { Close(); }

    // Whether a person types it, as far as one can tell.
    static bool isTerminal();
    void Open();
    void Close();

    // One of them has to be set by the time that events run. Where ready is, nothing is read here: a program
    // that draws on a terminal takes the keys from there, too.
    std::function<void(std::string_view bytes)> received;
    std::function<void()> ready;
    // At the end of the input, which is closed by then. May stay unset.
    std::function<void()> ended;

private:
    int descriptor() const noexcept override { return open_ ? 0 : -1; }
    bool wantsRead() const noexcept override { return true; }
    bool wantsWrite() const noexcept override { return false; }
    void serve(bool readable, bool writable) override;
    void flushOutput() override {}
    void finish();

    bool open_ = false;
};

} // namespace hearthix
