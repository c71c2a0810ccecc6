#include "runtime/text/String.hpp"

#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <new>

namespace hearthix {

// The header of a shared block. The bytes follow it. The first `used` bytes never change while two strings
// share the block.
struct String::Block {
    std::size_t references;
    std::size_t capacity;
    std::size_t used;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
};

char* String::allocateBlock(std::size_t size, std::size_t capacity) {
    auto* block = new (::operator new(sizeof(Block) + capacity)) Block{1, capacity, size};
    content_.shared = {block, block->bytes()};
    return block->bytes();
}

void String::retainBlock() const noexcept {
    ++content_.shared.block->references;
}

void String::releaseBlock() const noexcept {
    if (--content_.shared.block->references == 0)
        ::operator delete(content_.shared.block);
}

String String::part(std::string_view shown) const {
    if (shown.size() <= kSmallCapacity)
        return String(shown, encoding());
    String result = *this;
    result.content_.shared.begin = shown.data();
    result.content_.size = shown.size() & kLargestSize;
    return result;
}

// The memory for more bytes right behind this text. Null if there is none, or if another string already uses
// it.
char* String::growInPlace(std::size_t count) noexcept {
    const std::size_t oldSize = size();
    if (oldSize + count <= kSmallCapacity) {
        content_.size = (oldSize + count) & kLargestSize;
        return content_.small + oldSize;
    }
    Block* block = isShared() ? content_.shared.block : nullptr;
    char* end = block != nullptr ? block->bytes() + block->used : nullptr;
    if (block == nullptr || view().data() + oldSize != end || count > block->capacity - block->used)
        return nullptr;
    block->used += count;
    content_.size = (oldSize + count) & kLargestSize;
    return end;
}

String& String::append(std::string_view bytes) {
    char* end = growInPlace(bytes.size());
    String grown;
    if (end == nullptr) {
        const std::size_t newSize = size() + bytes.size();
        char* begin = grown.allocate(newSize, std::max(newSize, 2 * size()), encoding());
        end = std::copy_n(view().data(), size(), begin);
    }
    std::copy(bytes.begin(), bytes.end(), end);
    // The old block is released after the copy, because the appended bytes may be part of it.
    if (!grown.empty())
        std::swap(content_, grown.content_);
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

void String::compact() {
    if (isShared() && content_.shared.block->capacity / 2 > size())
        *this = String(view(), encoding());
}

String operator+(const String& left, const String& right) {
    return concat(left, right);
}

String joinParts(std::span<const TextPart> parts) {
    std::size_t size = 0;
    TextEncoding encoding = TextEncoding::none;
    for (const TextPart& part : parts) {
        if (part.bytes.empty())
            continue;
        encoding = size == 0 || encoding == part.encoding ? part.encoding : TextEncoding::none;
        size += part.bytes.size();
    }
    return String::build(size, encoding, [&](char* target) {
        for (const TextPart& part : parts)
            target = std::copy(part.bytes.begin(), part.bytes.end(), target);
    });
}

bool operator==(const String& left, const String& right) noexcept {
    return RuntimeStringCompare(left.view(), right.view());
}

} // namespace hearthix
