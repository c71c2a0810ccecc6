#include "runtime/process/Console.hpp"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace hearthix {

void openStandardStreams() {
    // Each call of open returns the lowest free descriptor.
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

void Print(std::string_view text) {
    writeAll(STDOUT_FILENO, text);
    writeAll(STDOUT_FILENO, EndOfLine);
}

void PrintError(std::string_view text) {
    writeAll(STDERR_FILENO, text);
    writeAll(STDERR_FILENO, EndOfLine);
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
        // Another process may have made a pipe non-blocking. Waits at most a second until it accepts more.
        pollfd watch{descriptor, POLLOUT, 0};
        if (written < 0 && errno == EAGAIN && poll(&watch, 1, 1000) > 0)
            continue;
        return;
    }
}

} // namespace hearthix
