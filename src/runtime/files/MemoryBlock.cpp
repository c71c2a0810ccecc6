#include "runtime/files/MemoryBlock.hpp"

#include "runtime/files/ByteOrder.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Exceptions.hpp"

#include <algorithm>
#include <bit>
#include <new>
#include <string>

namespace hearthix {

MemoryBlock::MemoryBlock(Integer size) {
    // What no machine can hold is refused before it is tried.
    constexpr Integer kLargest = std::min<Integer>(Integer{1} << 40U, PTRDIFF_MAX / 2);
    if (size < 0 || size > kLargest)
        raiseNilObject();
    try {
        bytes_ = String(std::string(static_cast<std::size_t>(size), '\0'));
    } catch (const std::bad_alloc&) {
        raiseNilObject();
    }
}

std::uint64_t MemoryBlock::number(Integer offset, unsigned width) const {
    if (offset < 0 || offset > Size() - static_cast<Integer>(width))
        raiseOutOfBounds();
    return decodeNumber(bytes_.view().substr(static_cast<std::size_t>(offset), width), LittleEndian);
}

void MemoryBlock::setNumber(Integer offset, unsigned width, std::uint64_t value) {
    if (offset < 0 || offset > Size() - static_cast<Integer>(width))
        raiseOutOfBounds();
    char bytes[8];
    encodeNumber(bytes, width, value, LittleEndian);
    overwrite(static_cast<std::size_t>(offset), std::string_view(bytes, width));
}

std::uint8_t MemoryBlock::Byte(Integer offset) const {
    return static_cast<std::uint8_t>(number(offset, 1));
}

void MemoryBlock::setByte(Integer offset, std::uint8_t value) {
    setNumber(offset, 1, value);
}

std::uint16_t MemoryBlock::UInt16Value(Integer offset) const {
    return static_cast<std::uint16_t>(number(offset, 2));
}

void MemoryBlock::setUInt16Value(Integer offset, std::uint16_t value) {
    setNumber(offset, 2, value);
}

double MemoryBlock::DoubleValue(Integer offset) const {
    return std::bit_cast<double>(number(offset, 8));
}

void MemoryBlock::setDoubleValue(Integer offset, double value) {
    setNumber(offset, 8, std::bit_cast<std::uint64_t>(value));
}

String MemoryBlock::StringValue(Integer offset, Integer length, TextEncoding encoding) const {
    return DefineEncoding(offset < 0 ? String() : MidB(bytes_, offset + 1, length), encoding);
}

void MemoryBlock::overwrite(std::size_t offset, std::string_view bytes) {
    if (offset > bytes_.size())
        bytes_.append(std::string(offset - bytes_.size(), '\0'));
    const std::size_t replaced = std::min(bytes.size(), bytes_.size() - offset);
    bytes_.replaceBytes(offset, bytes.substr(0, replaced));
    bytes_.append(bytes.substr(replaced));
}

} // namespace hearthix
