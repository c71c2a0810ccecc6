// Standard input as a source of events. Passes the bytes on as they arrive; the receiver splits them into
// lines.
//
// The process that started this program uses the same descriptor, so it stays in blocking mode. It is read
// once each time that the system reports it as readable.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <functional>
#include <string_view>

namespace hearthix {

class ConsoleInput : public EventSource {
public:
    ~ConsoleInput() override { Close(); }

    // Whether standard input is a terminal, so that probably a person types.
    static bool isTerminal();
    void Open();
    void Close();

    // One of these must be set before events run. If ready is set, this class reads nothing, because a
    // program that draws on a terminal reads the keys itself.
    std::function<void(std::string_view bytes)> received;
    std::function<void()> ready;
    // Called at the end of the input, after it was closed. May stay unset.
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
