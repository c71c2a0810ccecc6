// A stream of bytes over a string (read only), a memory block (which grows when written) or a file.
//
// Numbers are unsigned and in the stream's byte order, big-endian unless set. A read past the end yields what
// is there, or 0, and raises nothing; no count makes it allocate more than the bytes at hand. Strings read
// from a string or block share its memory.
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
    // The stream keeps the block alive; its byte order starts as the block's.
    explicit BinaryStream(const Ref<MemoryBlock>& block);
    explicit BinaryStream(std::unique_ptr<OpenFile> file);
    ~BinaryStream() override;

    // A new file to write, or nil when it cannot be made. An existing file is emptied only with overwrite.
    static Ref<BinaryStream> Create(const Ref<FolderItem>& file, bool overwrite);
    // An existing file, or nil when it cannot be opened; error then tells why.
    static Ref<BinaryStream> Open(const Ref<FolderItem>& file, bool writable);
    static Ref<BinaryStream> Open(const Ref<FolderItem>& file, bool writable, std::error_code& error);

    String Read(Integer count, TextEncoding encoding = TextEncoding::none);
    std::uint8_t ReadUInt8() { return static_cast<std::uint8_t>(readNumber(1)); }
    std::uint16_t ReadUInt16() { return static_cast<std::uint16_t>(readNumber(2)); }
    std::uint32_t ReadUInt32() { return static_cast<std::uint32_t>(readNumber(4)); }
    void Write(std::string_view bytes);
    void WriteUInt8(std::uint8_t value) { writeNumber(value, 1); }
    void WriteUInt16(std::uint16_t value) { writeNumber(value, 2); }
    void WriteUInt32(std::uint32_t value) { writeNumber(value, 4); }

    Integer Position() const noexcept { return static_cast<Integer>(position_); }
    void setPosition(Integer position);
    Integer Length() const { return text_.empty() ? lengthElsewhere() : static_cast<Integer>(text_.size()); }
    // The stream's EOF; the C library has taken that name for a macro.
    bool isEOF() const { return Position() >= Length(); }
    // Waits until the disk has what was written to a file, and closes. A closed stream reads nothing and
    // drops what is written.
    void Close();
    // After Close: why what was written to the file is not safely on the disk, if so.
    const std::error_code& error() const noexcept { return error_; }

private:
    Integer lengthElsewhere() const;
    std::uint64_t readNumber(std::size_t width);
    void writeNumber(std::uint64_t value, unsigned width);

    // At most one of the three is in use; none once the stream is closed.
    String text_;
    Ref<MemoryBlock> block_;
    std::unique_ptr<OpenFile> file_;
    std::size_t position_ = 0;
    std::error_code error_;
};

} // namespace hearthix
