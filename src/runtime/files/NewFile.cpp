#include "runtime/files/NewFile.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/files/OpenFile.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/values/Clock.hpp"

#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr const char* kOwnDescriptors = "/proc/self/fd/";

std::string pathOf(const Ref<FolderItem>& item) {
    return std::string(item->ShellPath().view());
}

std::error_code errorUnless(bool done) {
    return done ? std::error_code() : systemError();
}

void takeRights(int descriptor, const struct stat& model) {
    mode_t mode = model.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (fchown(descriptor, model.st_uid, model.st_gid) != 0 &&
        fchown(descriptor, static_cast<uid_t>(-1), model.st_gid) != 0)
        mode = (mode & (S_IRWXU | S_IRWXO)) | (mode & S_IRWXO) << 3U;
    fchmod(descriptor, mode);
}

} // namespace

NewFile::NewFile(const Ref<FolderItem>& place) : place_(place) {
    const std::string folder = pathOf(place->Parent());
    struct stat old {};
    replaces_ = stat(pathOf(place).c_str(), &old) == 0;
    if (!replaces_ && errno != ENOENT && errno != ENOTDIR) {
        error_ = systemError();
        return;
    }
    const mode_t mode = replaces_ ? 0600 : 0666;
    // Without a way to name it later, a nameless file is of no use.
    if (access(kOwnDescriptors, X_OK) == 0)
        descriptor_ = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
    if (descriptor_ < 0)
        error_ = takeSpareName([&](const char* path) {
            descriptor_ = open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
            return descriptor_ >= 0;
        });
    if (replaces_ && !error_)
        takeRights(descriptor_, old);
}

NewFile::~NewFile() {
    if (spare_)
        spare_->Delete();
    if (descriptor_ >= 0)
        close(descriptor_);
}

// A name that exists is somebody else's, and passed over for another.
template <class Take>
std::error_code NewFile::takeSpareName(const Take& take) {
    constexpr int kMostTries = 1000;
    std::error_code error;
    for (int tries = 0; tries < kMostTries; ++tries) {
        const auto name = place_->Parent()->Child(concat(Format(Microseconds(), "#"), "_", place_->Name()));
        error = errorUnless(take(pathOf(name).c_str()));
        if (!error)
            spare_ = name;
        if (error != std::errc::file_exists)
            break;
    }
    return error;
}

Ref<BinaryStream> NewFile::stream(std::error_code& error) {
    const int own = error_ ? -1 : fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
    error = error_ ? error_ : errorUnless(own >= 0);
    return own >= 0 ? Ref<BinaryStream>::make(std::make_unique<OpenFile>(own)) : nullptr;
}

std::error_code NewFile::appear() {
    const auto giveName = [this](const char* path) {
        const std::string nameless = kOwnDescriptors + std::to_string(descriptor_);
        return linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0;
    };
    if (replaces_)
        return spare_ ? std::error_code() : takeSpareName(giveName);
    const std::string path = pathOf(place_);
    const bool done = spare_ ? rename(pathOf(spare_).c_str(), path.c_str()) == 0 : giveName(path.c_str());
    if (done) {
        spare_ = nullptr;
        place_->syncFolder();
    }
    return errorUnless(done);
}

std::error_code NewFile::replace() {
    const auto written = std::exchange(spare_, nullptr);
    const Integer status = ExchangeFiles(written, place_);
    if (status == 0)
        written->Delete();
    else
        leftAt_ = written;
    return {static_cast<int>(status), std::system_category()};
}

} // namespace hearthix
