#include "runtime/events/NameLookup.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/text/Numbers.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix {

namespace {

class ResolverErrors : public std::error_category {
public:
    const char* name() const noexcept override { return "name look-up"; }
    std::string message(int code) const override { return gai_strerror(code); }
};

// The message from the resolver process. A pipe writes a message of this size as a whole.
struct Answer {
    std::error_code error() const {
        static const ResolverErrors category;
        return code == EAI_SYSTEM ? std::error_code(systemCode, std::system_category())
                                  : std::error_code(code, category);
    }

    int code = EAI_SYSTEM;
    int systemCode = EIO; // if the resolver process has died
    std::size_t count = 0;
    std::array<NetworkAddress, 24> addresses{};
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
    for (const addrinfo* each = found; each != nullptr && answer.count < answer.addresses.size();
         each = each->ai_next) {
        NetworkAddress& next = answer.addresses[answer.count++];
        next.length = each->ai_addrlen;
        std::memcpy(&next.address, each->ai_addr, each->ai_addrlen);
    }
    freeaddrinfo(found);
    return answer;
}

// The body of the resolver process. It ends with its parent, and it closes all inherited descriptors, so that
// the parent's peers see their connections end when the parent ends.
[[noreturn]] void answerTo(int pipe, pid_t parent, const std::string& host, const std::string& service) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(EXIT_FAILURE); // it ended before the call above
    dup2(pipe, STDIN_FILENO);
    close_range(STDIN_FILENO + 1, UINT_MAX, 0);
    const Answer answer = resolve(host, service, 0);
    _exit(write(STDIN_FILENO, &answer, sizeof answer) == sizeof answer ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

void NameLookup::start(const String& host, Integer port) {
    cancel();
    addresses_.clear();
    error_.clear();
    const std::string name(host.view());
    const std::string service(Str(port).view());
    const Answer numeric = resolve(name, service, AI_NUMERICHOST | AI_NUMERICSERV);
    if (numeric.code == 0)
        addresses_.assign(numeric.addresses.begin(), numeric.addresses.begin() + numeric.count);
    else
        startResolver(name, service);
}

void NameLookup::startResolver(const std::string& host, const std::string& service) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        error_ = systemError();
        return;
    }
    answer_ = ends[0];
    const pid_t parent = getpid();
    // Keeps the process ID in use until cancel has waited for the resolver, in case the signal was ignored.
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    resolver_ = fork();
    if (resolver_ == 0)
        answerTo(ends[1], parent, host, service);
    if (resolver_ < 0)
        error_ = systemError();
    close(ends[1]);
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
    if (answer_ < 0 || poll(&watch, 1, 0) <= 0)
        return answer_ >= 0;
    Answer answer;
    static_cast<void>(read(answer_, &answer, sizeof answer) == sizeof answer);
    if (answer.code == 0)
        addresses_.assign(answer.addresses.begin(), answer.addresses.begin() + answer.count);
    else
        error_ = answer.error();
    cancel();
    return false;
}

} // namespace hearthix
