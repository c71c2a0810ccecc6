#include "runtime/files/FolderItem.hpp"

#include "runtime/core/SystemError.hpp"

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

// The reason why a file cannot be exchanged: only regular files can.
std::error_code refusalOf(const FolderItem& item) {
    struct stat status {};
    if (lstat(pathOf(item).c_str(), &status) != 0)
        return systemError();
    if (S_ISREG(status.st_mode))
        return {};
    return make_error_code(S_ISDIR(status.st_mode) ? std::errc::is_a_directory : std::errc::invalid_argument);
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
    std::error_code ignored;
    return std::filesystem::status(pathOf(*this), ignored).type() != std::filesystem::file_type::not_found;
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
    constexpr int kMostLinks = 40; // the system's own limit
    std::error_code error;
    fs::path path(path_.view());
    if (!fs::is_symlink(path, error))
        return Ref<FolderItem>::make(path_);
    // Each step resolves the folder, so that ".." in a link refers to the folder that really contains the
    // link.
    for (int links = 0; links < kMostLinks && fs::is_symlink(path, error); ++links)
        path = fs::weakly_canonical(path.parent_path(), error) / fs::read_symlink(path, error);
    path = fs::weakly_canonical(path.parent_path(), error) / path.filename();
    return Ref<FolderItem>::make(String(path.string(), TextEncoding::utf8));
}

void FolderItem::syncFolder() const {
    const auto folder = Parent();
    const int descriptor = folder ? open(pathOf(*folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    if (descriptor < 0)
        return;
    // Some file systems do not support this. There is nothing else to do then.
    fsync(descriptor);
    close(descriptor);
}

Ref<FolderItem> GetFolderItem(const String& reference, Integer) {
    return Ref<FolderItem>::make(reference);
}

Integer ExchangeFiles(const Ref<FolderItem>& first, const Ref<FolderItem>& second) {
    for (const auto& each : {first, second})
        if (const std::error_code refusal = refusalOf(*each))
            return refusal.value();
    if (renameat2(AT_FDCWD, pathOf(*first).c_str(), AT_FDCWD, pathOf(*second).c_str(), RENAME_EXCHANGE) != 0)
        return errno;
    second->syncFolder();
    return 0;
}

} // namespace hearthix
