// The base of a program without a window.
//
// The program derives the class of its only application from this one and runs it with execute. Events run
// inside DoEvents and inside an object's Poll, and nowhere else.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Exceptions.hpp"

#include <string_view>

namespace hearthix {

class ConsoleApplication {
public:
    // The version, unless it is empty, is part of the message about an unhandled exception.
    explicit ConsoleApplication(const char* longVersion = "");
    ConsoleApplication(const ConsoleApplication&) = delete;
    ConsoleApplication& operator=(const ConsoleApplication&) = delete;
    virtual ~ConsoleApplication();

    // The only application. Raises NilObjectException if there is none.
    static ConsoleApplication& instance();

    // The program. The first argument is the program's own path; the result is the exit status.
    virtual Integer Event_Run(const Array<String>& arguments) = 0;
    // Called for an exception that nothing has caught. After true the process ends with status 0, after false
    // with a message on standard error and status 1.
    virtual bool Event_UnhandledException(const RuntimeException& error) = 0;

    // Runs events for a number of milliseconds.
    static void DoEvents(Integer milliseconds);

    // Prepares the process, runs Event_Run, handles every exception that leaves it, sends pending data to the
    // peers as far as they accept it, and returns the exit status. A failed write never ends the process by a
    // signal.
    int execute(int count, const char* const* values);

private:
    int handleUnhandled() noexcept;
    int endBy(const RuntimeException& error, std::string_view kind, std::string_view detail) noexcept;

    const char* longVersion_;
};

// Lets other cooperative threads run. There are none, so it returns at once. It runs no events.
inline void RuntimeBackgroundTask() {
}

} // namespace hearthix
