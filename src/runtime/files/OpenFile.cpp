#include "runtime/files/OpenFile.hpp"

#include "runtime/core/SystemError.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix {

std::unique_ptr<OpenFile> OpenFile::create(const String& path, bool overwrite) {
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | (overwrite ? O_TRUNC : O_EXCL);
    const int descriptor = ::open(std::string(path.view()).c_str(), flags, 0666);
    return descriptor >= 0 ? std::make_unique<OpenFile>(descriptor) : nullptr;
}

std::unique_ptr<OpenFile> OpenFile::open(const String& path, bool writable) {
    // Without O_NONBLOCK, opening a pipe or a serial line may block for ever.
    const int flags = (writable ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int descriptor = ::open(std::string(path.view()).c_str(), flags);
    if (descriptor < 0)
        return nullptr;
    auto file = std::make_unique<OpenFile>(descriptor);
    struct stat status {};
    // A file may be too large for a machine of 32 bits.
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        !std::in_range<std::ptrdiff_t>(status.st_size))
        return nullptr;
    file->size_ = static_cast<std::size_t>(status.st_size);
    return file;
}

OpenFile::~OpenFile() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

void OpenFile::fail(std::error_code error) {
    if (!error_)
        error_ = error;
}

String OpenFile::read(std::size_t offset, std::size_t count) {
    count = std::min(count, size_ - std::min(offset, size_));
    std::size_t done = 0;
    const String bytes = String::build(count, TextEncoding::none, [&](char* target) {
        while (done < count) {
            const ssize_t got =
                pread(descriptor_, target + done, count - done, static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            done += static_cast<std::size_t>(got);
        }
        std::fill(target + done, target + count, '\0');
    });
    // The file may have become shorter since it was opened.
    if (done < count)
        size_ = offset + done;
    return bytes.cut(0, done);
}

void OpenFile::write(std::size_t offset, std::string_view bytes) {
    changed_ = true;
    size_ = std::max(size_, offset + bytes.size());
    while (!bytes.empty()) {
        const ssize_t put = pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return fail(put < 0 ? systemError() : make_error_code(std::errc::io_error));
        offset += static_cast<std::size_t>(put);
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
}

std::error_code OpenFile::close() {
    if (changed_ && fsync(descriptor_) != 0)
        fail(systemError());
    if (::close(descriptor_) != 0)
        fail(systemError());
    descriptor_ = -1;
    return error_;
}

} // namespace hearthix
