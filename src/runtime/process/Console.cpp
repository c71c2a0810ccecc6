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

namespace {

void writeLine(int descriptor, std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts)
        writeAll(descriptor, part);
    writeAll(descriptor, EndOfLine);
}

} // namespace

void Print(std::initializer_list<std::string_view> parts) {
    writeLine(STDOUT_FILENO, parts);
}

void PrintError(std::initializer_list<std::string_view> parts) {
    writeLine(STDERR_FILENO, parts);
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
