#include "sim/system/ChildProcess.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr std::chrono::milliseconds kPatience{2000};
constexpr int kReapMilliseconds = 10;
constexpr int kSignalled = 128; // as shells report it

} // namespace

bool ChildProcess::Start(const String& path, const std::vector<String>& arguments) {
    Stop();
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        setLastError(systemError());
        return false;
    }
    std::vector<std::string> words{std::string(path.view())};
    for (const String& argument : arguments)
        words.emplace_back(argument.view());
    const int error = process_.start(words, ends[1], ends[1]);
    ::close(ends[1]);
    if (error != 0) {
        ::close(ends[0]);
        setLastError({error, std::system_category()});
        return false;
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    attach(ends[0]);
    return true;
}

void ChildProcess::Stop() {
    Close();
    reaper_.setMode(Timer::kModeOff);
    process_.stop(kPatience);
    partialLine_ = String();
}

ssize_t ChildProcess::receive(char* bytes, std::size_t count) {
    return read(descriptor(), bytes, count);
}

ssize_t ChildProcess::transmit(const char*, std::size_t) {
    errno = EBADF;
    return -1;
}

void ChildProcess::dataArrived() {
    Integer from = LenB(partialLine_) + 1; // the partial line has no line feed
    partialLine_ += ReadAll();
    while (const Integer end = InStrB(from, partialLine_, "\n")) {
        const String line = LeftB(partialLine_, end - 1);
        partialLine_ = MidB(partialLine_, end + 1);
        from = 1;
        if (printed)
            printed(Trim(line));
    }
}

void ChildProcess::failed() {
    const String rest = Trim(std::exchange(partialLine_, String()));
    if (!rest.empty() && printed)
        printed(rest);
    reap();
}

void ChildProcess::reap() {
    if (!isRunning())
        return;
    const std::optional<int> status = process_.wait(std::chrono::milliseconds(0));
    if (!status) {
        reaper_.setPeriod(kReapMilliseconds);
        reaper_.setMode(Timer::kModeSingle);
    } else if (ended) {
        ended(*status < 0 ? kSignalled - *status : *status);
    }
}

String ownExecutable() {
    std::array<char, PATH_MAX> path;
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? String(std::string_view(path.data(), static_cast<std::size_t>(length))) : String();
}

} // namespace hearthix
