#include "runtime/String.hpp"

#include "runtime/StringFunctions.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace hearthix {

// Header of a shared block; the bytes follow it. Bytes below used never change while two strings share it.
struct String::Block {
    std::size_t references;
    std::size_t capacity;
    std::size_t used;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }

    static Block* create(std::size_t capacity) {
        if (capacity > (SIZE_MAX >> 9U) - sizeof(Block))
            throw std::bad_alloc();
        void* memory = ::operator new(sizeof(Block) + capacity);
        return new (memory) Block{1, capacity, 0};
    }
};

String::String(std::string_view bytes, TextEncoding encoding) {
    if (bytes.size() <= kSmallCapacity) {
        setSmall(bytes, encoding);
        return;
    }
    Block* block = Block::create(bytes.size());
    std::memcpy(block->bytes(), bytes.data(), bytes.size());
    block->used = bytes.size();
    setLarge(block, block->bytes(), bytes.size(), encoding);
}

void String::setSmall(std::string_view bytes, TextEncoding encoding) noexcept {
    clear();
    if (!bytes.empty())
        std::memcpy(raw_, bytes.data(), bytes.size());
    raw_[kSmallCapacity] = static_cast<std::uint8_t>(encodingBits(encoding) | bytes.size());
}

void String::setLarge(Block* block, const char* begin, std::size_t size, TextEncoding encoding) noexcept {
    const std::uint64_t wide = size;
    const Large shared{block,
                       begin,
                       static_cast<std::uint32_t>(wide),
                       static_cast<std::uint16_t>(wide >> 32U),
                       static_cast<std::uint8_t>(wide >> 48U),
                       static_cast<std::uint8_t>(kLargeBit | encodingBits(encoding))};
    std::memcpy(raw_, &shared, sizeof shared);
}

void String::retainBlock() const noexcept {
    ++large().block->references;
}

void String::releaseBlock() noexcept {
    Block* block = large().block;
    if (--block->references == 0)
        ::operator delete(block);
}

void String::setEncoding(TextEncoding encoding) noexcept {
    raw_[kSmallCapacity] =
        static_cast<std::uint8_t>((meta() & ~unsigned{kEncodingMask}) | encodingBits(encoding));
}

String String::cut(std::size_t offset, std::size_t count) const {
    const std::string_view bytes = view();
    if (offset >= bytes.size())
        return String(std::string_view(), encoding());
    const std::string_view part = bytes.substr(offset, count);
    if (isInline() || part.size() <= kSmallCapacity)
        return String(part, encoding());
    String result;
    Block* block = large().block;
    ++block->references;
    result.setLarge(block, part.data(), part.size(), encoding());
    return result;
}

// Moves the text into a block of its own with room for capacity bytes.
void String::reallocate(std::size_t capacity) {
    const std::string_view bytes = view();
    Block* block = Block::create(capacity);
    if (!bytes.empty())
        std::memcpy(block->bytes(), bytes.data(), bytes.size());
    block->used = bytes.size();
    const TextEncoding tag = encoding();
    const std::size_t size = bytes.size();
    drop();
    setLarge(block, block->bytes(), size, tag);
}

String& String::append(std::string_view bytes) {
    if (bytes.empty())
        return *this;
    const std::size_t oldSize = size();
    const std::size_t newSize = oldSize + bytes.size();
    if (isInline() && newSize <= kSmallCapacity) {
        std::memcpy(raw_ + oldSize, bytes.data(), bytes.size());
        raw_[kSmallCapacity] = static_cast<std::uint8_t>((meta() & ~unsigned{kSmallSizeMask}) | newSize);
        return *this;
    }
    if (!isInline()) {
        const Large shared = large();
        const std::size_t start = static_cast<std::size_t>(shared.begin - shared.block->bytes());
        if (start + oldSize == shared.block->used &&
            bytes.size() <= shared.block->capacity - shared.block->used) {
            std::memcpy(shared.block->bytes() + shared.block->used, bytes.data(), bytes.size());
            shared.block->used += bytes.size();
            setLarge(shared.block, shared.begin, newSize, encoding());
            return *this;
        }
    }
    // Both parts are copied before the old block goes: the appended bytes may stand in it.
    Block* block = Block::create(std::max(newSize, oldSize * 2));
    std::memcpy(block->bytes(), data(), oldSize);
    std::memcpy(block->bytes() + oldSize, bytes.data(), bytes.size());
    block->used = newSize;
    const TextEncoding tag = encoding();
    drop();
    setLarge(block, block->bytes(), newSize, tag);
    return *this;
}

String& String::operator+=(const String& other) {
    if (other.empty())
        return *this;
    if (empty())
        return *this = other;
    const TextEncoding joined = encoding() == other.encoding() ? encoding() : TextEncoding::none;
    append(other.view());
    setEncoding(joined);
    return *this;
}

void String::reserve(std::size_t capacity) {
    if (capacity <= kSmallCapacity && isInline())
        return;
    if (!isInline()) {
        const Large shared = large();
        const std::size_t start = static_cast<std::size_t>(shared.begin - shared.block->bytes());
        if (start + shared.size() == shared.block->used && capacity <= shared.block->capacity - start)
            return;
    }
    reallocate(std::max(capacity, size()));
}

void String::replaceBytes(std::size_t offset, std::string_view bytes) {
    if (bytes.empty())
        return;
    if (isInline()) {
        std::memmove(raw_ + offset, bytes.data(), bytes.size());
        return;
    }
    if (large().block->references > 1)
        reallocate(size());
    const Large shared = large();
    const std::size_t start = static_cast<std::size_t>(shared.begin - shared.block->bytes());
    std::memmove(shared.block->bytes() + start + offset, bytes.data(), bytes.size());
}

void String::compact() {
    if (!isInline() && large().block->capacity / 2 > size())
        *this = String(view(), encoding());
}

String operator+(const String& left, const String& right) {
    String result = left;
    result += right;
    return result;
}

bool operator==(const String& left, const String& right) noexcept {
    return RuntimeStringCompare(left.view(), right.view());
}

} // namespace hearthix
