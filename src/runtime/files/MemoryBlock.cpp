#include "runtime/files/MemoryBlock.hpp"

#include "runtime/files/ByteOrder.hpp"
#include "runtime/values/Exceptions.hpp"

#include <algorithm>
#include <new>

namespace hearthix {

MemoryBlock::MemoryBlock(Integer size) {
    // More than any machine has. The system might otherwise promise more memory than it has.
    constexpr Integer kLargest = std::min<Integer>(Integer{1} << 40U, PTRDIFF_MAX / 2);
    if (size < 0 || size > kLargest)
        raiseNilObject();
    try {
        bytes_.resize(static_cast<std::size_t>(size));
    } catch (const std::bad_alloc&) {
        raiseNilObject();
    }
}

// The offset of a number, if the number is inside of the block.
std::size_t MemoryBlock::checked(Integer offset, std::size_t width) const {
    if (offset < 0 || offset > Size() - static_cast<Integer>(width))
        raiseOutOfBounds();
    return static_cast<std::size_t>(offset);
}

std::uint64_t MemoryBlock::number(Integer offset, std::size_t width) const {
    return decodeNumber(std::string_view(bytes_).substr(checked(offset, width), width), LittleEndian);
}

void MemoryBlock::setNumber(Integer offset, std::size_t width, std::uint64_t value) {
    encodeNumber(bytes_.data() + checked(offset, width), width, value, LittleEndian);
}

String MemoryBlock::StringValue(Integer offset, Integer length, TextEncoding encoding) const {
    if (offset < 0 || offset > Size() || length < 0)
        return String(std::string_view(), encoding);
    const std::string_view rest = std::string_view(bytes_).substr(static_cast<std::size_t>(offset));
    return String(rest.substr(0, static_cast<std::size_t>(length)), encoding);
}

void MemoryBlock::overwrite(std::size_t offset, std::string_view bytes) {
    bytes_.resize(std::max(bytes_.size(), offset));
    bytes_.replace(offset, bytes.size(), bytes);
}

} // namespace hearthix
