// Where the bytes of a String stand, with its tag.
//
// Clever for speed, as every byte of the bridge goes through it. Up to 23 bytes (on 64-bit machines) stand
// inside the object itself. Longer texts share an immutable block: copying and cutting cost a count and two
// words, whatever the length, so that "take the packet, keep the rest" is linear over a whole stream. Storage
// whose bytes end where the used part of its block ends may grow in place; all others see only bytes that
// never change again.
#pragma once

#include "runtime/text/Encoding.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace hearthix {

class StringStorage {
public:
    StringStorage() noexcept { clear(); }
    StringStorage(std::string_view bytes, TextEncoding encoding) {
        if (bytes.size() <= kSmallCapacity)
            setSmall(bytes, encoding);
        else
            copyIntoBlock(bytes, encoding);
    }
    // A part of another text's bytes, with the same tag.
    StringStorage(const StringStorage& whole, std::string_view part) noexcept {
        if (part.size() <= kSmallCapacity)
            setSmall(part, whole.encoding());
        else
            sharePart(whole, part);
    }
    StringStorage(const StringStorage& other) noexcept { shareFrom(other); }
    StringStorage(StringStorage&& other) noexcept { takeFrom(other); }
    ~StringStorage() { drop(); }
    StringStorage& operator=(const StringStorage& other) noexcept {
        if (this != &other) {
            drop();
            shareFrom(other);
        }
        return *this;
    }
    StringStorage& operator=(StringStorage&& other) noexcept {
        if (this != &other) {
            drop();
            takeFrom(other);
        }
        return *this;
    }

    std::string_view view() const noexcept {
        return isInline() ? std::string_view(smallBytes(), smallSize())
                          : std::string_view(begin(), largeSize());
    }
    std::size_t size() const noexcept { return isInline() ? smallSize() : largeSize(); }
    TextEncoding encoding() const noexcept {
        return static_cast<TextEncoding>((meta() & kEncodingMask) >> kEncodingShift);
    }
    void setEncoding(TextEncoding encoding) noexcept {
        setMeta((meta() & ~kEncodingMask) | encodingBits(encoding));
    }

    // For what the rest does, see String.
    void removeFront(std::size_t count) noexcept;
    void append(std::string_view bytes);
    void reserve(std::size_t capacity);
    void replaceBytes(std::size_t offset, std::string_view bytes);
    void compact();
    // An empty text's room for so many bytes, which the caller fills in.
    char* prepare(std::size_t size, TextEncoding encoding);

private:
    struct Block;
    // Layout of raw_. A small text: the meta byte, then up to kSmallCapacity bytes. A large one: a word that
    // holds the size and, in its first byte, the same meta; then the block and the first byte in it.
    static constexpr std::size_t kSmallOffset = 1;
    static constexpr std::size_t kBlockOffset = sizeof(std::uint64_t);
    static constexpr std::size_t kBeginOffset = kBlockOffset + sizeof(void*);
    static constexpr std::size_t kRawSize = kBeginOffset + sizeof(void*);
    static constexpr std::size_t kSmallCapacity = kRawSize - kSmallOffset;
    // Meta. Bit 7: shared block; bits 5 and 6: encoding; bits 0 to 4: a small text's size.
    static constexpr unsigned kLargeBit = 0x80;
    static constexpr unsigned kEncodingShift = 5;
    static constexpr unsigned kEncodingMask = 0x60;
    static constexpr unsigned kSmallSizeMask = 0x1F;
    static_assert(kSmallCapacity <= kSmallSizeMask);
    // Where the size and the meta byte stand in the first word, so that the meta is its first byte in memory.
    static constexpr bool kLittleEndian = std::endian::native == std::endian::little;
    static constexpr unsigned kSizeShift = kLittleEndian ? 8 : 0;
    static constexpr unsigned kMetaShift = kLittleEndian ? 0 : 56;
    static constexpr std::uint64_t kSizeMask = ~std::uint64_t{0} >> 8U;

    static unsigned encodingBits(TextEncoding encoding) noexcept {
        return static_cast<unsigned>(encoding) << kEncodingShift;
    }
    unsigned meta() const noexcept { return raw_[0]; }
    // As part of the first word, for the reason that setWords gives.
    void setMeta(unsigned value) noexcept {
        const std::uint64_t rest = field<std::uint64_t>(0) & ~(std::uint64_t{0xFF} << kMetaShift);
        setField(0, rest | (std::uint64_t{value} << kMetaShift));
    }
    bool isInline() const noexcept { return (meta() & kLargeBit) == 0; }
    const char* smallBytes() const noexcept { return reinterpret_cast<const char*>(raw_ + kSmallOffset); }
    std::size_t smallSize() const noexcept { return meta() & kSmallSizeMask; }
    template <class Field>
    Field field(std::size_t offset) const noexcept {
        Field value;
        std::memcpy(&value, raw_ + offset, sizeof value);
        return value;
    }
    template <class Field>
    void setField(std::size_t offset, Field value) noexcept {
        std::memcpy(raw_ + offset, &value, sizeof value);
    }
    Block* block() const noexcept { return field<Block*>(kBlockOffset); }
    const char* begin() const noexcept { return field<const char*>(kBeginOffset); }
    std::size_t largeSize() const noexcept {
        return static_cast<std::size_t>((field<std::uint64_t>(0) >> kSizeShift) & kSizeMask);
    }
    void setLargeSize(std::size_t size) noexcept {
        setField(0, (std::uint64_t{size} << kSizeShift) | (std::uint64_t{meta()} << kMetaShift));
    }
    void clear() noexcept { std::memset(raw_, 0, sizeof raw_); }
    void setSmall(std::string_view bytes, TextEncoding encoding) noexcept {
        const std::uint64_t tag = encodingBits(encoding) | static_cast<unsigned>(bytes.size());
        if constexpr (kLittleEndian) {
            setWords(bytes.data(), bytes.size(), tag);
        } else {
            clear();
            if (!bytes.empty())
                std::memcpy(raw_ + kSmallOffset, bytes.data(), bytes.size());
            setMeta(static_cast<unsigned>(tag));
        }
    }
    template <class Word>
    static std::uint64_t load(const char* source) noexcept {
        Word word;
        std::memcpy(&word, source, sizeof word);
        return word;
    }
    // A small text is put together in registers and stored in whole words: whoever copies it next would have
    // to wait for single bytes to be written. The first word holds the tag and 7 bytes, the others 8 each;
    // the last bytes of the text are loaded as a word of their own and shifted into place.
    void setWords(const char* text, std::size_t size, std::uint64_t tag) noexcept {
        std::uint64_t first = tag;
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        if (size >= 8) {
            const std::uint64_t last = load<std::uint64_t>(text + size - 8);
            first |= load<std::uint64_t>(text) << 8U;
            if (size < 16) {
                second = last >> (8 * (15 - size));
            } else {
                second = load<std::uint64_t>(text + 7);
                third = last >> (8 * (23 - size));
            }
        } else if (size >= 4) {
            const std::uint64_t last = load<std::uint32_t>(text + size - 4);
            first |= (load<std::uint32_t>(text) | last << (8 * (size - 4))) << 8U;
        } else if (size > 0) {
            const auto byteAt = [text](std::size_t i) { return load<unsigned char>(text + i) << (8 * i); };
            first |= (byteAt(0) | byteAt(size / 2) | byteAt(size - 1)) << 8U;
        }
        setField(0, first);
        setField(kBlockOffset, second);
        if constexpr (kRawSize == 3 * sizeof(std::uint64_t))
            setField(kBeginOffset, third);
    }
    void copyIntoBlock(std::string_view bytes, TextEncoding encoding);
    void sharePart(const StringStorage& whole, std::string_view part) noexcept;
    void setLarge(Block* block, const char* begin, std::size_t size, TextEncoding encoding) noexcept;
    // Word by word: a wider load would have to wait for the single words to be written.
    void copyRaw(const StringStorage& other) noexcept {
        setField(0, other.field<std::uint64_t>(0));
        setField(kBlockOffset, other.block());
        setField(kBeginOffset, other.begin());
    }
    void shareFrom(const StringStorage& other) noexcept {
        copyRaw(other);
        if (!isInline())
            retainBlock();
    }
    void takeFrom(StringStorage& other) noexcept {
        copyRaw(other);
        other.clear();
    }
    void drop() noexcept {
        if (!isInline())
            releaseBlock();
    }
    void retainBlock() const noexcept;
    void releaseBlock() noexcept;
    void reallocate(std::size_t capacity);
    bool ownsTail() const noexcept;

    alignas(std::uint64_t) unsigned char raw_[kRawSize];
};

} // namespace hearthix
