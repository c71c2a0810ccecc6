#include "runtime/process/ConsoleApplication.hpp"

#include "runtime/events/EventLoop.hpp"
#include "runtime/process/Console.hpp"

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

// For exceptions that cannot reach execute. The default would be SIGABRT.
[[noreturn]] void endAtOnce() {
    PrintError("ended by an exception that could not be handled; usually there is no memory left");
    _exit(EXIT_FAILURE);
}

// Returns the memory of large buffers to the system when they are released. By default the GNU heap keeps as
// much memory as the largest buffer that was ever released. After a peer has stopped reading for a minute,
// the process would then occupy 40 MiB instead of 4 MiB for years.
void keepHeapSmall() {
#ifdef __GLIBC__
    // Setting one of them stops the adaptation. The buffers of normal traffic are smaller than this.
    constexpr int kMebibyte = 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, kMebibyte);
    mallopt(M_TRIM_THRESHOLD, kMebibyte);
#endif
}

void prepareProcess() {
    keepHeapSmall();
    openStandardStreams();
    // Writing to a closed pipe or beyond the limit of a file's size fails with an error instead.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        static_cast<void>(std::signal(signal, SIG_IGN));
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
    try {
        EventLoop::instance().flushAll();
    } catch (...) {
        return EXIT_FAILURE;
    }
    return status;
}

// Describes the exception that is being handled.
int ConsoleApplication::handleUnhandled() noexcept {
    try {
        throw;
    } catch (const RuntimeException& error) {
        return endBy(error, error.name(), error.Message);
    } catch (const std::bad_alloc&) {
        return endBy(RuntimeException(), "exception", "there is no memory left");
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
    const std::string_view version = longVersion_;
    const std::string_view parts[] = {"ended by an unhandled ",
                                      kind,
                                      detail.empty() ? "" : ": ",
                                      detail,
                                      version.empty() ? "" : "; version ",
                                      version,
                                      "\n"};
    for (const std::string_view part : parts)
        writeAll(STDERR_FILENO, part);
    return EXIT_FAILURE;
}

} // namespace hearthix
