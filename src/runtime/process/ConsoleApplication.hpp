// The base of a program without a window.
//
// The program derives its one application from this and runs it with execute; instance leads back to it.
// Events run inside DoEvents and inside an object's Poll, and nowhere else.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Exceptions.hpp"

namespace hearthix {

class ConsoleApplication {
public:
    // The version that the end of the process tells, if it is an unhandled exception; empty tells none.
    explicit ConsoleApplication(const char* longVersion = "");
    ConsoleApplication(const ConsoleApplication&) = delete;
    ConsoleApplication& operator=(const ConsoleApplication&) = delete;
    virtual ~ConsoleApplication();

    // The one application; NilObjectException while there is none.
    static ConsoleApplication& instance();
    const char* LongVersion() const noexcept { return longVersion_; }

    // The program's body. The arguments count from the program's own path; the result is the exit status.
    virtual Integer Event_Run(const Array<String>& arguments) = 0;
    // The last chance for an exception that nothing has caught. True: it ends the process in good order,
    // status 0; false: with a line on standard error, status 1.
    virtual bool Event_UnhandledException(const RuntimeException& error) = 0;

    // Runs events for so many milliseconds.
    static void DoEvents(Integer milliseconds);

    // The life of the process, up to its exit status: a lost pipe is no reason to die, Event_Run, and for
    // whatever leaves it, std::bad_alloc included, the last chance, a line on standard error and status 1.
    int execute(int count, const char* const* values);

private:
    int handleUnhandled() noexcept;
    int endBy(const RuntimeException& error, std::string_view kind, std::string_view detail) noexcept;

    const char* longVersion_;
};

// The cooperative yield. No other cooperative threads exist, so it returns at once; it runs no events.
inline void RuntimeBackgroundTask() {
}

} // namespace hearthix
