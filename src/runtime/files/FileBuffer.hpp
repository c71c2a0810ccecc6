// An open file with a window of it in memory. The only place that reads and writes files.
#pragma once

#include "runtime/text/String.hpp"

#include <memory>
#include <string_view>

namespace hearthix {

class FileBuffer {
public:
    // Both yield null when the system refuses; errno then tells why. What open opens is a regular file, and
    // it waits for none.
    static std::unique_ptr<FileBuffer> create(const String& path, bool overwrite);
    static std::unique_ptr<FileBuffer> open(const String& path, bool writable);
    FileBuffer(const FileBuffer&) = delete;
    FileBuffer& operator=(const FileBuffer&) = delete;
    ~FileBuffer();

    std::size_t size() const noexcept { return size_; }
    // What is there at an offset, at most count bytes.
    String read(std::size_t offset, std::size_t count);
    void write(std::size_t offset, std::string_view bytes);
    // Writes what is held, waits until the disk has it, closes. False when any byte was lost on the way.
    bool close();

private:
    FileBuffer(int descriptor, std::size_t size) : descriptor_(descriptor), size_(size) {}
    void flush();

    int descriptor_;
    std::size_t size_;
    bool failed_ = false;
    bool changed_ = false;
    // Either bytes read ahead or bytes still to be written, for the file from windowStart_ on.
    String window_;
    std::size_t windowStart_ = 0;
    bool windowIsDirty_ = false;
};

} // namespace hearthix
