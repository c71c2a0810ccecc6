// An open file. The only place that reads and writes files.
#pragma once

#include "runtime/text/String.hpp"

#include <memory>
#include <string_view>
#include <system_error>

namespace hearthix {

class OpenFile {
public:
    // Both yield null when the system refuses, and its reason. What open opens is a regular file, and it
    // waits for none.
    static std::unique_ptr<OpenFile> create(const String& path, bool overwrite, std::error_code& error);
    static std::unique_ptr<OpenFile> open(const String& path, bool writable, std::error_code& error);
    // Takes over a descriptor of a regular file that holds so many bytes.
    explicit OpenFile(int descriptor, std::size_t size = 0) : descriptor_(descriptor), size_(size) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();

    std::size_t size() const noexcept { return size_; }
    // What is there at an offset, at most count bytes.
    String read(std::size_t offset, std::size_t count);
    void write(std::size_t offset, std::string_view bytes);
    // Waits until the disk has what was written, and closes. Tells the first failure since the file was
    // opened.
    std::error_code close();

private:
    void fail(std::error_code error);

    int descriptor_;
    std::size_t size_;
    bool changed_ = false;
    std::error_code error_;
};

} // namespace hearthix
