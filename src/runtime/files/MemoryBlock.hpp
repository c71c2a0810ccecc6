// A block of bytes that can be read and changed in place.
//
// Offsets count from 0. Numbers are read and written in the block's byte order. Touching a byte outside of
// the block raises OutOfBoundsException; reading a string yields what is there.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

#include <cstdint>
#include <string_view>

namespace hearthix {

class MemoryBlock : public Object {
public:
    // Zeros; raises NilObjectException when the block cannot be made.
    explicit MemoryBlock(Integer size = 0);
    explicit MemoryBlock(const String& bytes) : bytes_(bytes) {}

    Integer Size() const noexcept { return static_cast<Integer>(bytes_.size()); }
    std::uint8_t Byte(Integer offset) const;
    void setByte(Integer offset, std::uint8_t value);
    std::uint16_t UInt16Value(Integer offset) const;
    void setUInt16Value(Integer offset, std::uint16_t value);
    double DoubleValue(Integer offset) const;
    void setDoubleValue(Integer offset, double value);
    String StringValue(Integer offset, Integer length, TextEncoding encoding = TextEncoding::none) const;
    // The whole content, without a tag.
    String toString() const { return DefineEncoding(bytes_, TextEncoding::none); }

    // Puts bytes at an offset, growing the block as needed; a gap fills with zeros. For streams.
    void overwrite(std::size_t offset, std::string_view bytes);

    bool LittleEndian = true;

private:
    std::uint64_t number(Integer offset, unsigned width) const;
    void setNumber(Integer offset, unsigned width, std::uint64_t value);

    String bytes_;
};

} // namespace hearthix
