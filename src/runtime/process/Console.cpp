#include "runtime/process/Console.hpp"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace hearthix {

void openStandardStreams() {
    // The lowest free descriptor is used first, so each round fills one gap.
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

void Print(const String& text) {
    writeAll(STDOUT_FILENO, text + EndOfLine);
}

void PrintError(const String& text) {
    writeAll(STDERR_FILENO, text + EndOfLine);
}

void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (written < 0 && errno == EINTR)
            continue;
        // A pipe that someone has made non-blocking gets a moment to drain; anything else is lost.
        pollfd watch{descriptor, POLLOUT, 0};
        if (written < 0 && errno == EAGAIN && poll(&watch, 1, 1000) > 0)
            continue;
        return;
    }
}

} // namespace hearthix
