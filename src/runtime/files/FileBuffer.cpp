#include "runtime/files/FileBuffer.hpp"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr std::size_t kWindow = 262'144;

String readAt(int descriptor, std::size_t offset, std::size_t count) {
    std::size_t done = 0;
    const String bytes = String::build(count, [&](char* target) {
        while (done < count) {
            const ssize_t got =
                pread(descriptor, target + done, count - done, static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            done += static_cast<std::size_t>(got);
        }
        std::fill(target + done, target + count, '\0');
    });
    return bytes.cut(0, done);
}

bool writeAt(int descriptor, std::size_t offset, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t put = pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        offset += static_cast<std::size_t>(put);
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

} // namespace

std::unique_ptr<FileBuffer> FileBuffer::create(const String& path, bool overwrite) {
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | (overwrite ? O_TRUNC : O_EXCL);
    const int descriptor = ::open(std::string(path.view()).c_str(), flags, 0666);
    return std::unique_ptr<FileBuffer>(descriptor < 0 ? nullptr : new FileBuffer(descriptor, 0));
}

std::unique_ptr<FileBuffer> FileBuffer::open(const String& path, bool writable) {
    // Without waiting: a pipe would keep us until somebody writes to it, a serial line until its carrier
    // comes.
    const int flags = (writable ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int descriptor = ::open(std::string(path.view()).c_str(), flags);
    if (descriptor < 0)
        return nullptr;
    struct stat status {};
    // A machine of 32 bits can't address every size.
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        !std::in_range<std::ptrdiff_t>(status.st_size)) {
        ::close(descriptor);
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return nullptr;
    }
    return std::unique_ptr<FileBuffer>(new FileBuffer(descriptor, static_cast<std::size_t>(status.st_size)));
}

FileBuffer::~FileBuffer() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

String FileBuffer::read(std::size_t offset, std::size_t count) {
    flush();
    if (descriptor_ < 0 || offset >= size_)
        return {};
    count = std::min(count, size_ - offset);
    if (offset < windowStart_ || offset + count > windowStart_ + window_.size()) {
        window_ = readAt(descriptor_, offset, std::max(count, std::min(kWindow, size_ - offset)));
        windowStart_ = offset;
        // The file may have shrunk since it was opened.
        if (window_.size() < count)
            size_ = offset + window_.size();
    }
    return window_.cut(offset - windowStart_, count);
}

void FileBuffer::write(std::size_t offset, std::string_view bytes) {
    if (!windowIsDirty_ || offset != windowStart_ + window_.size() || window_.size() >= kWindow) {
        flush();
        window_ = String();
        windowStart_ = offset;
        windowIsDirty_ = true;
    }
    window_.append(bytes);
    size_ = std::max(size_, offset + bytes.size());
    changed_ = true;
}

void FileBuffer::flush() {
    if (!windowIsDirty_)
        return;
    failed_ = !writeAt(descriptor_, windowStart_, window_) || failed_;
    window_ = String();
    windowIsDirty_ = false;
}

bool FileBuffer::close() {
    flush();
    if (changed_ && fsync(descriptor_) != 0)
        failed_ = true;
    if (::close(descriptor_) != 0)
        failed_ = true;
    descriptor_ = -1;
    return !failed_;
}

} // namespace hearthix
