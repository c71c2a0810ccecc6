// A file reference: the place of a file or folder, which need not exist.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

class FolderItem : public Object {
public:
    // A relative path counts from the process's folder of the moment.
    explicit FolderItem(const String& path);

    // Whether something is there, at the end of any symbolic links, or may be: that the system can't tell is
    // no absence.
    bool Exists() const;
    // The last component of the path.
    String Name() const;
    // The folder it is in; nil for the root.
    Ref<FolderItem> Parent() const;
    // A file of that name in this folder.
    Ref<FolderItem> Child(const String& name) const;
    // The absolute path.
    String ShellPath() const { return path_; }
    // Removes the file. What cannot be removed stays, without an error.
    void Delete() const;
    // A form that GetFolderItem turns back into the same place: the absolute path. Both arguments are for
    // platforms with other forms and are not looked at.
    String GetSaveInfo(const Ref<FolderItem>& relativeTo, Integer mode) const;

    // The place that a symbolic link stands for, which need not exist; the same place for anything else.
    Ref<FolderItem> withoutLink() const;
    // Asks the system to put the names in the file's folder on the disk.
    void syncFolder() const;

private:
    String path_;
};

Ref<FolderItem> GetFolderItem(const String& reference, Integer pathMode);

// Makes two existing regular files change places, atomically. 0 on success; otherwise the system's error
// number, and both files are as they were. The change is on the disk when the call returns.
Integer ExchangeFiles(const Ref<FolderItem>& first, const Ref<FolderItem>& second);

} // namespace hearthix
