// A block of bytes that can be read and changed.
//
// Offsets count from 0. Numbers are read and written in the block's byte order. Numbers outside of the block
// raise OutOfBoundsException. A string that reaches past the end is cut there.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

namespace hearthix {

class MemoryBlock : public Object {
public:
    // Zeros. Raises NilObjectException if the memory is unavailable.
    explicit MemoryBlock(Integer size = 0);
    explicit MemoryBlock(const String& bytes) : bytes_(bytes.view()) {}

    Integer Size() const noexcept { return static_cast<Integer>(bytes_.size()); }
    std::uint8_t Byte(Integer offset) const { return static_cast<std::uint8_t>(number(offset, 1)); }
    void setByte(Integer offset, std::uint8_t value) { setNumber(offset, 1, value); }
    std::uint16_t UInt16Value(Integer offset) const { return static_cast<std::uint16_t>(number(offset, 2)); }
    void setUInt16Value(Integer offset, std::uint16_t value) { setNumber(offset, 2, value); }
    double DoubleValue(Integer offset) const { return std::bit_cast<double>(number(offset, 8)); }
    void setDoubleValue(Integer offset, double value) {
        setNumber(offset, 8, std::bit_cast<std::uint64_t>(value));
    }
    String StringValue(Integer offset, Integer length, TextEncoding encoding = TextEncoding::none) const;
    // All bytes, without a tag.
    String toString() const { return String(bytes_); }

    // Writes bytes at an offset. The block grows if necessary, with zeros between its old end and the offset.
    void overwrite(std::size_t offset, std::string_view bytes);

    bool LittleEndian = true;

private:
    std::uint64_t number(Integer offset, std::size_t width) const;
    void setNumber(Integer offset, std::size_t width, std::uint64_t value);
    std::size_t checked(Integer offset, std::size_t width) const;

    std::string bytes_;
};

} // namespace hearthix
