#include "runtime/files/NewFile.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/files/OpenFile.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/values/Clock.hpp"

#include <cstdio>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix {

namespace {

std::string pathOf(const Ref<FolderItem>& item) {
    return std::string(item->ShellPath().view());
}

void copyPermissions(int descriptor, const struct stat& old) {
    mode_t mode = old.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (fchown(descriptor, old.st_uid, old.st_gid) != 0 &&
        fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0)
        mode = (mode & (S_IRWXU | S_IRWXO)) | (mode & S_IRWXO) << 3U;
    fchmod(descriptor, mode);
}

} // namespace

NewFile::NewFile(const Ref<FolderItem>& target) : target_(target) {
    struct stat old {};
    replaces_ = stat(pathOf(target).c_str(), &old) == 0;
    const bool isAbsent = !replaces_ && (errno == ENOENT || errno == ENOTDIR);
    const int descriptor = replaces_ || isAbsent ? create(replaces_ ? 0600 : 0666) : -1;
    if (descriptor < 0) {
        error_ = systemError();
        return;
    }
    if (replaces_)
        copyPermissions(descriptor, old);
    stream_ = Ref<BinaryStream>::make(std::make_unique<OpenFile>(descriptor));
}

NewFile::~NewFile() {
    if (spare_)
        spare_->Delete();
}

// Opens a new file under a spare name that does not exist yet.
int NewFile::create(unsigned mode) {
    constexpr int kMostTries = 1000;
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const Ref<FolderItem> folder = target_->Parent();
    int descriptor = -1;
    for (int tries = 0; tries < kMostTries; ++tries) {
        const auto name = folder->Child(concat(Format(Microseconds(), "#"), "_", target_->Name()));
        descriptor = open(pathOf(name).c_str(), kFlags, mode);
        if (descriptor >= 0)
            spare_ = name;
        if (descriptor >= 0 || errno != EEXIST)
            break;
    }
    return descriptor;
}

std::error_code NewFile::appear() {
    if (rename(pathOf(spare_).c_str(), pathOf(target_).c_str()) != 0)
        return systemError();
    spare_ = nullptr;
    target_->syncFolder();
    return {};
}

std::error_code NewFile::replace() {
    const auto written = std::exchange(spare_, nullptr);
    const Integer status = ExchangeFiles(written, target_);
    if (status == 0)
        written->Delete();
    else
        leftAt_ = written;
    return {static_cast<int>(status), std::system_category()};
}

} // namespace hearthix
