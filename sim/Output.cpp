#include "sim/Output.hpp"

#include <cerrno>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace hearthix::sim {

namespace {

int firstLoss = 0;

// A pipe that somebody has made non-blocking gets a second to drain.
bool canTryAgain() {
    pollfd watch{STDOUT_FILENO, POLLOUT, 0};
    return errno == EINTR || (errno == EAGAIN && poll(&watch, 1, 1000) > 0);
}

} // namespace

void putLine(std::string_view text) {
    const std::string line = std::string(text) + '\n';
    for (std::string_view rest = line; !rest.empty() && firstLoss == 0;) {
        const ssize_t written = write(STDOUT_FILENO, rest.data(), rest.size());
        if (written >= 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (const int error = errno; !canTryAgain())
            firstLoss = error;
    }
}

int outputLoss() {
    return firstLoss;
}

} // namespace hearthix::sim
