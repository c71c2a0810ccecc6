// An open file. All reading and writing of files is done here.
#pragma once

#include "runtime/text/String.hpp"

#include <memory>
#include <string_view>
#include <system_error>

namespace hearthix {

class OpenFile {
public:
    // Both return null if the system refuses. open accepts regular files only and never blocks.
    static std::unique_ptr<OpenFile> create(const String& path, bool overwrite);
    static std::unique_ptr<OpenFile> open(const String& path, bool writable);
    // Owns the descriptor of an empty regular file.
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();

    std::size_t size() const noexcept { return size_; }
    // At most count bytes from an offset on.
    String read(std::size_t offset, std::size_t count);
    void write(std::size_t offset, std::string_view bytes);
    // Waits until all that was written is on the disk, and closes. Returns the first failure since the file
    // was opened.
    std::error_code close();

private:
    void fail(std::error_code error);

    int descriptor_;
    std::size_t size_ = 0;
    bool changed_ = false;
    std::error_code error_;
};

} // namespace hearthix
