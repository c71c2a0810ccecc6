#include "runtime/events/NameLookup.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/text/Numbers.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix {

namespace {

// The codes of the system's resolver.
class ResolverErrors : public std::error_category {
public:
    const char* name() const noexcept override { return "name look-up"; }
    std::string message(int code) const override { return gai_strerror(code); }
};

std::error_code resolverError(int code) {
    static const ResolverErrors category;
    return {code, category};
}

// What the resolver's process sends, in one piece that a pipe keeps whole.
struct Answer {
    static constexpr std::size_t kMost = 24;

    int code = 0;
    int systemCode = 0;
    std::size_t count = 0;
    std::array<NetworkAddress, kMost> addresses{};
};
static_assert(sizeof(Answer) <= PIPE_BUF);

Answer resolve(const std::string& host, const std::string& service, int flags) {
    Answer answer;
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    answer.code = getaddrinfo(host.c_str(), service.c_str(), &hints, &found);
    answer.systemCode = errno;
    if (answer.code != 0)
        return answer;
    for (const addrinfo* each = found; each != nullptr && answer.count < Answer::kMost;
         each = each->ai_next) {
        NetworkAddress& next = answer.addresses[answer.count++];
        next.length = each->ai_addrlen;
        std::memcpy(&next.address, each->ai_addr, each->ai_addrlen);
    }
    freeaddrinfo(found);
    return answer;
}

// The life of the resolver's process. It lets go of all that it has inherited: a peer of this process must
// see its connection end when this process ends, however long a name server takes.
[[noreturn]] void answerTo(int pipe, const std::string& host, const std::string& service) {
    for (int other = 0; other < static_cast<int>(sysconf(_SC_OPEN_MAX)) && other < 1024; ++other)
        if (other != pipe)
            close(other);
    const Answer answer = resolve(host, service, 0);
    _exit(write(pipe, &answer, sizeof answer) == sizeof answer ? 0 : 1);
}

} // namespace

void NameLookup::start(const String& host, Integer port) {
    cancel();
    addresses_.clear();
    error_.clear();
    const Answer numeric =
        resolve(std::string(host.view()), std::string(Str(port).view()), AI_NUMERICHOST | AI_NUMERICSERV);
    if (numeric.code == 0)
        addresses_.assign(numeric.addresses.begin(), numeric.addresses.begin() + numeric.count);
    else
        ask(host, port);
}

void NameLookup::ask(const String& host, Integer port) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        error_ = systemError();
        return;
    }
    resolver_ = fork();
    if (resolver_ == 0)
        answerTo(ends[1], std::string(host.view()), std::string(Str(port).view()));
    if (resolver_ < 0)
        error_ = systemError();
    close(ends[1]);
    answer_ = ends[0];
    if (resolver_ < 0)
        cancel();
}

void NameLookup::cancel() {
    if (answer_ >= 0)
        close(std::exchange(answer_, -1));
    if (resolver_ <= 0)
        return;
    kill(resolver_, SIGKILL);
    waitpid(std::exchange(resolver_, -1), nullptr, 0);
}

bool NameLookup::isPending() {
    pollfd watch{answer_, POLLIN, 0};
    if (answer_ >= 0 && poll(&watch, 1, 0) > 0)
        take();
    return answer_ >= 0;
}

void NameLookup::take() {
    Answer answer;
    if (read(answer_, &answer, sizeof answer) != sizeof answer || answer.count > Answer::kMost)
        error_ = std::make_error_code(std::errc::io_error);
    else if (answer.code == EAI_SYSTEM)
        error_ = {answer.systemCode, std::system_category()};
    else if (answer.code != 0)
        error_ = resolverError(answer.code);
    else
        addresses_.assign(answer.addresses.begin(), answer.addresses.begin() + answer.count);
    cancel();
}

} // namespace hearthix
