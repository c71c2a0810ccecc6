#include "runtime/text/StringStorage.hpp"

#include <algorithm>
#include <new>

namespace hearthix {

// Header of a shared block; the bytes follow it. Bytes below used never change while two strings share it.
struct StringStorage::Block {
    std::size_t references;
    std::size_t capacity;
    std::size_t used;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }

    static Block* create(std::size_t capacity) {
        // What the size's field holds and what a machine can address, whose half leaves room to double it.
        constexpr std::uint64_t kLargest = std::min<std::uint64_t>(kSizeMask, SIZE_MAX) / 2;
        if (capacity > kLargest - sizeof(Block))
            throw std::bad_alloc();
        void* memory = ::operator new(sizeof(Block) + capacity);
        return new (memory) Block{1, capacity, 0};
    }
};

void StringStorage::copyIntoBlock(std::string_view bytes, TextEncoding encoding) {
    Block* block = Block::create(bytes.size());
    std::memcpy(block->bytes(), bytes.data(), bytes.size());
    block->used = bytes.size();
    setLarge(block, block->bytes(), bytes.size(), encoding);
}

void StringStorage::setLarge(Block* block, const char* begin, std::size_t size,
                             TextEncoding encoding) noexcept {
    const unsigned bits = kLargeBit | encodingBits(encoding);
    setField(0, (std::uint64_t{size} << kSizeShift) | (std::uint64_t{bits} << kMetaShift));
    setField(kBlockOffset, block);
    setField(kBeginOffset, begin);
}

char* StringStorage::prepare(std::size_t size, TextEncoding encoding) {
    if (size <= kSmallCapacity) {
        setMeta(encodingBits(encoding) | static_cast<unsigned>(size));
        return reinterpret_cast<char*>(raw_ + kSmallOffset);
    }
    Block* block = Block::create(size);
    block->used = size;
    setLarge(block, block->bytes(), size, encoding);
    return block->bytes();
}

void StringStorage::retainBlock() const noexcept {
    ++block()->references;
}

void StringStorage::releaseBlock() noexcept {
    Block* shared = block();
    if (--shared->references == 0)
        ::operator delete(shared);
}

void StringStorage::sharePart(const StringStorage& whole, std::string_view part) noexcept {
    whole.retainBlock();
    setLarge(whole.block(), part.data(), part.size(), whole.encoding());
}

void StringStorage::removeFront(std::size_t count) noexcept {
    const std::string_view rest = view().substr(std::min(count, size()));
    if (!isInline() && rest.size() > kSmallCapacity) {
        setField(kBeginOffset, rest.data());
        setLargeSize(rest.size());
        return;
    }
    // The rest may lie in the bytes that are about to be overwritten.
    const StringStorage small(rest, encoding());
    *this = small;
}

// Moves the text into a block of its own with room for capacity bytes.
void StringStorage::reallocate(std::size_t capacity) {
    const std::string_view bytes = view();
    Block* fresh = Block::create(capacity);
    if (!bytes.empty())
        std::memcpy(fresh->bytes(), bytes.data(), bytes.size());
    fresh->used = bytes.size();
    const TextEncoding tag = encoding();
    const std::size_t size = bytes.size();
    drop();
    setLarge(fresh, fresh->bytes(), size, tag);
}

// Whether the text ends where the used part of its block ends, so that it may grow in place.
bool StringStorage::ownsTail() const noexcept {
    return !isInline() && begin() + largeSize() == block()->bytes() + block()->used;
}

void StringStorage::append(std::string_view bytes) {
    if (bytes.empty())
        return;
    const std::size_t oldSize = size();
    const std::size_t newSize = oldSize + bytes.size();
    if (isInline() && newSize <= kSmallCapacity) {
        std::memcpy(raw_ + kSmallOffset + oldSize, bytes.data(), bytes.size());
        setMeta((meta() & ~kSmallSizeMask) | static_cast<unsigned>(newSize));
        return;
    }
    if (ownsTail() && bytes.size() <= block()->capacity - block()->used) {
        std::memcpy(block()->bytes() + block()->used, bytes.data(), bytes.size());
        block()->used += bytes.size();
        setLargeSize(newSize);
        return;
    }
    // Both parts are copied before the old block goes: the appended bytes may lie in it.
    Block* fresh = Block::create(std::max(newSize, oldSize * 2));
    std::memcpy(fresh->bytes(), view().data(), oldSize);
    std::memcpy(fresh->bytes() + oldSize, bytes.data(), bytes.size());
    fresh->used = newSize;
    const TextEncoding tag = encoding();
    drop();
    setLarge(fresh, fresh->bytes(), newSize, tag);
}

void StringStorage::reserve(std::size_t capacity) {
    if (capacity <= kSmallCapacity && isInline())
        return;
    const bool hasRoom =
        ownsTail() && capacity <= block()->capacity - static_cast<std::size_t>(begin() - block()->bytes());
    if (!hasRoom)
        reallocate(std::max(capacity, size()));
}

void StringStorage::replaceBytes(std::size_t offset, std::string_view bytes) {
    if (bytes.empty())
        return;
    if (isInline()) {
        std::memmove(raw_ + kSmallOffset + offset, bytes.data(), bytes.size());
        return;
    }
    if (block()->references > 1)
        reallocate(size());
    const std::size_t start = static_cast<std::size_t>(begin() - block()->bytes());
    std::memmove(block()->bytes() + start + offset, bytes.data(), bytes.size());
}

void StringStorage::compact() {
    if (!isInline() && block()->capacity / 2 > size())
        *this = StringStorage(view(), encoding());
}

} // namespace hearthix
