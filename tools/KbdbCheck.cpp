#include "tools/KbdbCheck.hpp"

#include "document/CXML.hpp"
#include "runtime/files/ByteOrder.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <utility>

namespace hearthix {

namespace {

constexpr std::size_t kMagicSize = 4;
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kLengthSize = 4;

const char* const kRestore =
    "Restore the file from a copy; \"kbdb repair\" saves what \"kbdb show\" can still read.";

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

class Walker {
public:
    Walker(std::string_view bytes, KbdbCensus& census) : bytes_(bytes), census_(census) {}

    std::optional<KbdbFault> run() {
        bool sound = takeHeader();
        while (sound && depth_ > 0)
            sound = takeEntry();
        if (sound && left() > 0)
            fail(at_, counted(left(), "byte follows", "bytes follow") + " the end of the document",
                 "If nothing needs that, cut the file to " + counted(at_, "byte", "bytes") +
                     ", for instance with \"truncate -s " + std::to_string(at_) + "\".");
        return std::move(fault_);
    }

private:
    std::size_t left() const { return bytes_.size() - at_; }

    bool fail(std::size_t offset, std::string reason, std::string remedy = kRestore) {
        fault_ = KbdbFault{offset, std::move(reason), std::move(remedy)};
        return false;
    }

    bool takeHeader() {
        const std::string_view header = bytes_.substr(at_, kHeaderSize);
        const std::string_view magic = header.substr(0, kMagicSize);
        if (magic.empty() ||
            !RuntimeStringCompare(magic, std::string_view(kKbdbMagic).substr(0, magic.size())))
            return failAtMagic();
        if (header.size() < kHeaderSize)
            return fail(bytes_.size(), "the file ends inside a document's header");
        if (static_cast<unsigned char>(header[4]) > 'A')
            return fail(at_ + 4,
                        "the format's version is " + hexByte(header[4]) + ", and none above 41 is known",
                        "Read the file with the program that wrote it, or with a newer kbdb.");
        if (header[5] != 'L' && header[5] != 'B')
            return fail(at_ + 5,
                        "the byte order mark is " + hexByte(header[5]) + " and neither 4C (L) nor 42 (B)");
        // It applies until the next mark, even after the end of its document.
        littleEndian_ = header[5] == 'L';
        at_ += kHeaderSize;
        ++census_.documents;
        census_.deepest = std::max(census_.deepest, ++depth_);
        return true;
    }

    bool failAtMagic() {
        if (left() == 0 && at_ > 0)
            return fail(at_, "the file ends where a child's header should be");
        return fail(at_,
                    at_ == 0 ? "the file does not begin with the letters \"Kbdb\""
                             : "a child does not begin with the letters \"Kbdb\"",
                    at_ == 0 ? "Name a document file; \"kbdb new\" makes an empty one." : kRestore);
    }

    bool takeEntry() {
        if (left() == 0)
            return fail(at_, counted(depth_, "end tag is", "end tags are") + " missing",
                        "If only the end is lost, add the letter E " + counted(depth_, "time", "times") +
                            " at the end of the file; otherwise restore it from a copy.");
        switch (bytes_[at_++]) {
        case 'E': --depth_; return true;
        case 'V': ++census_.values; return takeText("a key") && takeText("a value");
        case 'O': return takeText("a child's name") && takeHeader();
        default: break;
        }
        return fail(at_ - 1,
                    hexByte(bytes_[at_ - 1]) + " begins neither a value (V) nor a child (O) nor an end (E)");
    }

    bool takeText(const char* what) {
        const std::size_t start = at_;
        if (left() < kLengthSize)
            return fail(start, std::string("the file ends inside the length of ") + what);
        const std::uint64_t length = decodeNumber(bytes_.substr(at_, kLengthSize), littleEndian_);
        at_ += kLengthSize;
        if (length > left())
            return fail(start, std::string("the length of ") + what + " is " + std::to_string(length) +
                                   ", but only " + counted(left(), "byte is", "bytes are") + " left");
        at_ += static_cast<std::size_t>(length);
        return true;
    }

    std::string_view bytes_;
    KbdbCensus& census_;
    std::size_t at_ = 0;
    std::size_t depth_ = 0;
    bool littleEndian_ = true;
    std::optional<KbdbFault> fault_;
};

} // namespace

std::string hexByte(char byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return {kDigits[value >> 4U], kDigits[value & 15U]};
}

std::optional<KbdbFault> findKbdbFault(std::string_view bytes, KbdbCensus& census) {
    return Walker(bytes, census).run();
}

} // namespace hearthix
