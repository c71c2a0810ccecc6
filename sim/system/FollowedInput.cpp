#include "sim/system/FollowedInput.hpp"

#include <cerrno>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr int kWaitMilliseconds = 100;
constexpr std::size_t kBufferBytes = 65'536;

} // namespace

FollowedInput::~FollowedInput() {
    if (descriptor_ > STDERR_FILENO)
        close(descriptor_);
}

bool FollowedInput::open(const String& path, bool follow) {
    follow_ = follow;
    buffer_.resize(kBufferBytes);
    const bool isStandard = path == "-";
    descriptor_ = isStandard ? STDIN_FILENO : ::open(std::string(path.view()).c_str(), O_RDONLY | O_CLOEXEC);
    struct stat state {};
    if (descriptor_ < 0 || fstat(descriptor_, &state) != 0) {
        reason_ = std::strerror(errno);
        return false;
    }
    isFile_ = S_ISREG(state.st_mode);
    if (!isFile_ && !isStandard && !S_ISFIFO(state.st_mode))
        reason_ = S_ISDIR(state.st_mode) ? "it is a folder" : "it is a device";
    return reason_.empty();
}

FollowedInput::State FollowedInput::read() {
    size_ = 0;
    pollfd waiting{descriptor_, POLLIN, 0};
    if (!isFile_ && poll(&waiting, 1, kWaitMilliseconds) == 0)
        return State::nothingYet;
    const ssize_t got = ::read(descriptor_, buffer_.data(), buffer_.size());
    if (got == 0)
        return atEnd();
    if (got < 0 && (errno == EINTR || errno == EAGAIN))
        return State::nothingYet;
    if (got < 0) {
        reason_ = std::strerror(errno);
        return State::failed;
    }
    size_ = static_cast<std::size_t>(got);
    position_ += got;
    return State::bytes;
}

FollowedInput::State FollowedInput::atEnd() {
    if (!follow_ || !isFile_)
        return State::ended;
    struct stat state {};
    if (fstat(descriptor_, &state) == 0 && state.st_size < position_) {
        reason_ = "it became shorter";
        return State::failed;
    }
    poll(nullptr, 0, kWaitMilliseconds);
    return State::nothingYet;
}

} // namespace hearthix
