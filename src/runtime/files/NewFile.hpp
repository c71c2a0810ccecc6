// A file that appears under its name only when its content is complete and on the disk.
//
// Until then it has a spare name in the same folder: digits, "_" and the name. The destructor removes it, but
// a killed process leaves it behind. A file that replaces another one gets its owner, group and permissions,
// as far as the system allows. A group that cannot be set gets no more permissions than everybody. Until then
// only the process's user can read the new file. Access control lists are not copied.
#pragma once

#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/FolderItem.hpp"

#include <system_error>

namespace hearthix {

class NewFile {
public:
    // Raises NilObjectException for a path without a folder.
    explicit NewFile(const Ref<FolderItem>& target);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    // Whether the target exists, so that the new file replaces it.
    bool replaces() const noexcept { return replaces_; }
    // Receives the content. Nil if the file could not be created; error() is the reason.
    const Ref<BinaryStream>& stream() const noexcept { return stream_; }
    const std::error_code& error() const noexcept { return error_; }
    // After the stream is closed, if the target did not exist: gives the file its name.
    std::error_code appear();
    // After the stream is closed, if the target existed: exchanges the two files and deletes the old one. If
    // that fails, both files stay.
    std::error_code replace();
    // The new file under its spare name, after a replacement has failed.
    const Ref<FolderItem>& leftAt() const noexcept { return leftAt_; }

private:
    int create(unsigned mode);

    Ref<FolderItem> target_;
    Ref<FolderItem> spare_; // nil if there is no file to remove
    Ref<FolderItem> leftAt_;
    Ref<BinaryStream> stream_;
    bool replaces_ = false;
    std::error_code error_;
};

} // namespace hearthix
