#include "runtime/Console.hpp"

#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace hearthix {

namespace {

void writeLine(int descriptor, const String& text) {
    String line = text;
    line.append("\n");
    std::string_view left = line.view();
    while (!left.empty()) {
        const ssize_t written = write(descriptor, left.data(), left.size());
        if (written > 0) {
            left.remove_prefix(static_cast<std::size_t>(written));
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

} // namespace

void openStandardStreams() {
    // The lowest free descriptor is used first, so each round fills one gap.
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

void Print(const String& text) {
    writeLine(STDOUT_FILENO, text);
}

void PrintError(const String& text) {
    writeLine(STDERR_FILENO, text);
}

} // namespace hearthix
