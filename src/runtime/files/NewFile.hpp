// A file in the making, which takes its place in a folder when its content is complete and on the disk.
//
// Until then it has no name, and whatever ends the process or the work leaves nothing behind. File systems
// that know no nameless files get it under a spare name beside the place (digits, "_", the place's name),
// where a killed process leaves it. A file that is to replace another one has its owner, group and
// permissions, as far as the system lets us; a group that can't be kept gets no more than everybody has, and
// nobody else sees the content before. Access lists are not taken over.
#pragma once

#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/FolderItem.hpp"

#include <system_error>

namespace hearthix {

class NewFile {
public:
    // Raises NilObjectException for a place without a folder.
    explicit NewFile(const Ref<FolderItem>& place);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    // Whether something is in the place, so that the new file replaces it.
    bool replaces() const noexcept { return replaces_; }
    // To write the content; nil when the file can't be made, and error tells why.
    Ref<BinaryStream> stream(std::error_code& error);
    // Once the stream is closed: gives the file its name, or beside a file to replace a spare one.
    std::error_code appear();
    // Then: makes it change places with the file to replace, which goes. When that fails both stay.
    std::error_code replace();
    // Where a new file lies that could not replace the old one.
    const Ref<FolderItem>& leftAt() const noexcept { return leftAt_; }

private:
    template <class Take>
    std::error_code takeSpareName(const Take& take);

    Ref<FolderItem> place_;
    Ref<FolderItem> spare_; // its spare name, if it has one
    Ref<FolderItem> leftAt_;
    bool replaces_ = false;
    int descriptor_ = -1;
    std::error_code error_;
};

} // namespace hearthix
