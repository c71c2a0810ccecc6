#include "runtime/process/ConsoleApplication.hpp"

#include "runtime/events/EventLoop.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/process/Heap.hpp"

#include <csignal>
#include <cstdlib>
#include <exception>

namespace hearthix {

void ConsoleApplication::DoEvents(Integer milliseconds) {
    EventLoop::instance().run(milliseconds);
}

int ConsoleApplication::execute(int count, const char* const* values) {
    keepHeapSmall();
    openStandardStreams();
    // A lost pipe, and a file that may not grow any further: failed writes like any other.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        static_cast<void>(std::signal(signal, SIG_IGN));
    Array<String> arguments;
    for (int i = 0; i < count; ++i)
        arguments.Append(values[i]);
    const int status = runGuarded(arguments);
    // What was written before the end still leaves, as far as the peers take it.
    EventLoop::instance().flushAll();
    return status;
}

int ConsoleApplication::runGuarded(const Array<String>& arguments) {
    try {
        return static_cast<int>(Event_Run(arguments));
    } catch (const RuntimeException& error) {
        if (Event_UnhandledException(error))
            return EXIT_SUCCESS;
        const String detail = error.Message.empty() ? String() : concat(" (", error.Message, ")");
        PrintError(concat("ended by an unhandled ", error.name(), detail));
    } catch (const std::exception& error) {
        PrintError(concat("ended by an unhandled exception: ", error.what()));
    }
    return EXIT_FAILURE;
}

} // namespace hearthix
