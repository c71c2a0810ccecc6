#include "runtime/files/FolderItem.hpp"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hearthix {

namespace {

std::string pathOf(const FolderItem& item) {
    return std::string(item.ShellPath().view());
}

// 0 for a regular file, and the reason why anything else takes no part in an exchange.
int refusalOf(const FolderItem& item) {
    struct stat status {};
    if (lstat(pathOf(item).c_str(), &status) != 0)
        return errno;
    return S_ISREG(status.st_mode) ? 0 : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

} // namespace

FolderItem::FolderItem(const String& path) {
    std::error_code ignored;
    const auto absolute = std::filesystem::absolute(std::filesystem::path(path.view()), ignored);
    std::string text = absolute.lexically_normal().string();
    if (text.size() > 1 && text.back() == '/')
        text.pop_back();
    path_ = String(text, TextEncoding::utf8);
}

bool FolderItem::Exists() const {
    struct stat status {};
    return stat(pathOf(*this).c_str(), &status) == 0;
}

String FolderItem::Name() const {
    return String(std::filesystem::path(path_.view()).filename().string(), TextEncoding::utf8);
}

Ref<FolderItem> FolderItem::Parent() const {
    const std::filesystem::path path(path_.view());
    if (!path.has_relative_path())
        return nullptr;
    return Ref<FolderItem>::make(String(path.parent_path().string(), TextEncoding::utf8));
}

Ref<FolderItem> FolderItem::Child(const String& name) const {
    return Ref<FolderItem>::make(concat(path_, "/", name));
}

void FolderItem::Delete() const {
    unlink(pathOf(*this).c_str());
}

String FolderItem::GetSaveInfo(const Ref<FolderItem>&, Integer) const {
    return path_;
}

Ref<FolderItem> FolderItem::withoutLink() const {
    namespace fs = std::filesystem;
    constexpr int kMostLinks = 40; // as many as the system follows
    std::error_code error;
    fs::path path(path_.view());
    if (!fs::is_symlink(path, error))
        return Ref<FolderItem>::make(path_);
    // The folder is resolved with each step, so that ".." in a link leads up from where the link really is.
    for (int links = 0; links < kMostLinks && fs::is_symlink(path, error); ++links)
        path = fs::weakly_canonical(path.parent_path(), error) / fs::read_symlink(path, error);
    path = fs::weakly_canonical(path.parent_path(), error) / path.filename();
    return Ref<FolderItem>::make(String(path.string(), TextEncoding::utf8));
}

void FolderItem::createPrivate() const {
    const int descriptor = open(pathOf(*this).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor >= 0)
        close(descriptor);
}

void FolderItem::takeRightsOf(const Ref<FolderItem>& model) const {
    struct stat status {};
    if (stat(pathOf(*model).c_str(), &status) != 0)
        return;
    const int descriptor = open(pathOf(*this).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (descriptor < 0)
        return;
    mode_t mode = status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (fchown(descriptor, status.st_uid, status.st_gid) != 0 &&
        fchown(descriptor, static_cast<uid_t>(-1), status.st_gid) != 0)
        mode = (mode & (S_IRWXU | S_IRWXO)) | (mode & S_IRWXO) << 3U;
    fchmod(descriptor, mode);
    close(descriptor);
}

void FolderItem::syncFolder() const {
    const auto folder = Parent();
    const int descriptor = folder ? open(pathOf(*folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    if (descriptor < 0)
        return;
    // A file system that can't do this has rules of its own.
    fsync(descriptor);
    close(descriptor);
}

Ref<FolderItem> GetFolderItem(const String& reference, Integer) {
    return Ref<FolderItem>::make(reference);
}

Integer ExchangeFiles(const Ref<FolderItem>& first, const Ref<FolderItem>& second) {
#ifdef RENAME_EXCHANGE
    for (const auto& each : {first, second})
        if (const int refusal = refusalOf(*each); refusal != 0)
            return refusal;
    if (renameat2(AT_FDCWD, pathOf(*first).c_str(), AT_FDCWD, pathOf(*second).c_str(), RENAME_EXCHANGE) != 0)
        return errno;
    second->syncFolder();
    return 0;
#else
    // Without an atomic exchange there is no safe way to keep both files.
    (void)first;
    (void)second;
    return ENOSYS;
#endif
}

} // namespace hearthix
