// A stream of bytes over a string (read only), a memory block (which grows when written) or a file.
//
// Numbers are unsigned and in the stream's byte order, which is big-endian unless it is changed. A read past
// the end yields the bytes that are there, or 0, without an exception. A read never allocates more memory
// than the bytes need. Long strings that are read from a string share its memory.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <cstdint>
#include <memory>
#include <string_view>
#include <system_error>

namespace hearthix {

class FolderItem;
class MemoryBlock;
class OpenFile;

class BinaryStream : public Object {
public:
    bool LittleEndian = false;

    explicit BinaryStream(const String& source);
    // The stream owns a reference to the block and starts with its byte order.
    explicit BinaryStream(const Ref<MemoryBlock>& block);
    explicit BinaryStream(std::unique_ptr<OpenFile> file);
    ~BinaryStream() override;

    // A new file for writing; nil if it could not be created. An existing file is truncated with overwrite,
    // and an error without.
    static Ref<BinaryStream> Create(const Ref<FolderItem>& file, bool overwrite);
    // An existing regular file; nil if it could not be opened.
    static Ref<BinaryStream> Open(const Ref<FolderItem>& file, bool writable);

    String Read(Integer count, TextEncoding encoding = TextEncoding::none);
    std::uint8_t ReadUInt8() { return readNumber<std::uint8_t>(); }
    std::uint16_t ReadUInt16() { return readNumber<std::uint16_t>(); }
    std::uint32_t ReadUInt32() { return readNumber<std::uint32_t>(); }
    void Write(std::string_view bytes);
    void WriteUInt8(std::uint8_t value) { writeNumber(value, 1); }
    void WriteUInt16(std::uint16_t value) { writeNumber(value, 2); }
    void WriteUInt32(std::uint32_t value) { writeNumber(value, 4); }

    Integer Position() const noexcept { return static_cast<Integer>(position_); }
    void setPosition(Integer position);
    Integer Length() const;
    // The stream's EOF. The C library has a macro of that name.
    bool isEOF() const { return Position() >= Length(); }
    // Waits until all that was written to a file is on the disk, and closes. A closed stream has no bytes to
    // read and ignores writes.
    void Close();
    // After Close: the first failure since the file was opened, if any.
    const std::error_code& error() const noexcept { return error_; }

private:
    std::string_view nextOfText(std::size_t count);
    template <class Number>
    Number readNumber();
    void writeNumber(std::uint64_t value, std::size_t width);

    // At most one of the three is in use, and none after Close.
    String text_;
    Ref<MemoryBlock> block_;
    std::unique_ptr<OpenFile> file_;
    std::size_t position_ = 0;
    std::error_code error_;
};

} // namespace hearthix
