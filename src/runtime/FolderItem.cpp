#include "runtime/FolderItem.hpp"

#include "runtime/StringFunctions.hpp"

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

// Makes the names of a folder's files durable. A file system that can't do this has its own rules.
void syncFolder(const Ref<FolderItem>& folder) {
    const int descriptor = open(pathOf(*folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
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
    return lstat(pathOf(*this).c_str(), &status) == 0;
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

Ref<FolderItem> GetFolderItem(const String& reference, Integer) {
    return Ref<FolderItem>::make(reference);
}

Integer ExchangeFiles(const Ref<FolderItem>& first, const Ref<FolderItem>& second) {
#ifdef RENAME_EXCHANGE
    if (renameat2(AT_FDCWD, pathOf(*first).c_str(), AT_FDCWD, pathOf(*second).c_str(), RENAME_EXCHANGE) != 0)
        return errno;
    if (const auto folder = second->Parent())
        syncFolder(folder);
    return 0;
#else
    // Without an atomic exchange there is no safe way to keep both files.
    (void)first;
    (void)second;
    return ENOSYS;
#endif
}

} // namespace hearthix
