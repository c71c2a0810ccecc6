#include "runtime/process/ConsoleApplication.hpp"

#include "runtime/events/EventLoop.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/values/StackTrace.hpp"

#include <array>
#include <csignal>
#include <cstdlib> // defines __GLIBC__
#include <exception>
#include <new>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <unistd.h>

namespace hearthix {

namespace {

ConsoleApplication* theApplication = nullptr;

// An exception where none may pass ends the process as any other does.
[[noreturn]] void endAtOnce() {
    PrintError("ended by an exception that could not be handled, such as one without memory for itself");
    _exit(EXIT_FAILURE);
}

// Returns the memory of large buffers to the system as soon as they are released. By default the GNU heap
// adapts to the largest buffer that was ever released and keeps that much for good: after a peer has stopped
// reading for a minute, a process of 4 MiB would stay at 40 MiB for years.
void keepHeapSmall() {
#ifdef __GLIBC__
    // Setting either one also ends the adaptation. The buffers of everyday traffic are smaller.
    constexpr int kMebibyte = 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, kMebibyte);
    mallopt(M_TRIM_THRESHOLD, kMebibyte);
#endif
}

void prepareProcess() {
    keepHeapSmall();
    openStandardStreams();
    // A lost pipe, and a file that may not grow any further: failed writes like any other.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        static_cast<void>(std::signal(signal, SIG_IGN));
    // The first look at the stack takes memory, which may be gone when there is something to see.
    std::array<void*, 1> frame{};
    captureStack(frame);
    std::set_new_handler(noteOutOfMemory);
    std::set_terminate(endAtOnce);
}

} // namespace

void ConsoleApplication::DoEvents(Integer milliseconds) {
    EventLoop::instance().run(milliseconds);
}

ConsoleApplication::ConsoleApplication(const char* longVersion) : longVersion_(longVersion) {
    theApplication = this;
}

ConsoleApplication::~ConsoleApplication() {
    theApplication = nullptr;
}

ConsoleApplication& ConsoleApplication::instance() {
    if (theApplication == nullptr)
        raiseNilObject();
    return *theApplication;
}

int ConsoleApplication::execute(int count, const char* const* values) {
    prepareProcess();
    int status = EXIT_FAILURE;
    try {
        Array<String> arguments;
        for (int i = 0; i < count; ++i)
            arguments.Append(values[i]);
        status = static_cast<int>(Event_Run(arguments));
    } catch (...) {
        status = handleUnhandled();
    }
    // What was written before the end still leaves, as far as the peers take it.
    try {
        EventLoop::instance().flushAll();
    } catch (...) {
        return EXIT_FAILURE;
    }
    return status;
}

// Sorts the exception that is being handled.
int ConsoleApplication::handleUnhandled() noexcept {
    try {
        throw;
    } catch (const RuntimeException& error) {
        return endBy(error, error.name(), error.Message);
    } catch (const std::bad_alloc&) {
        const OutOfMemoryException error;
        return endBy(error, error.name(), "there is no memory left");
    } catch (const std::exception& error) {
        return endBy(RuntimeException(), "exception", error.what());
    } catch (...) {
        return endBy(RuntimeException(), "exception", {});
    }
}

int ConsoleApplication::endBy(const RuntimeException& error, std::string_view kind,
                              std::string_view detail) noexcept {
    try {
        if (Event_UnhandledException(error))
            return EXIT_SUCCESS;
    } catch (...) {
        PrintError("a further exception was raised meanwhile");
    }
    const bool hasVersion = *longVersion_ != '\0';
    PrintError({"ended by an unhandled ", kind, detail.empty() ? "" : " (", detail, detail.empty() ? "" : ")",
                hasVersion ? "; version " : "", longVersion_});
    return EXIT_FAILURE;
}

} // namespace hearthix
