// A file reference: the path of a file or folder, which need not exist.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

class FolderItem : public Object {
public:
    // A relative path starts at the current folder of the process.
    explicit FolderItem(const String& path);

    // Follows symbolic links. Also true if the system cannot find out.
    bool Exists() const;
    // The last component of the path.
    String Name() const;
    // The folder that contains it; nil for the root.
    Ref<FolderItem> Parent() const;
    // The file with a given name in this folder.
    Ref<FolderItem> Child(const String& name) const;
    // The absolute path.
    String ShellPath() const { return path_; }
    // Removes the file. A failure is ignored.
    void Delete() const;
    // A text from which GetFolderItem creates the same reference: the absolute path. Both arguments are
    // ignored.
    String GetSaveInfo(const Ref<FolderItem>& relativeTo, Integer mode) const;

    // The target of a symbolic link, which need not exist; the same path if it is not a link.
    Ref<FolderItem> withoutLink() const;
    // Writes the folder that contains the file to the disk.
    void syncFolder() const;

private:
    String path_;
};

Ref<FolderItem> GetFolderItem(const String& reference, Integer pathMode);

// Exchanges two existing regular files atomically. Returns 0 when the change is on the disk, otherwise the
// system's error number; both files are unchanged then.
Integer ExchangeFiles(const Ref<FolderItem>& first, const Ref<FolderItem>& second);

} // namespace hearthix
