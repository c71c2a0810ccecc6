#include "runtime/files/BinaryStream.hpp"

#include "runtime/files/ByteOrder.hpp"
#include "runtime/files/FolderItem.hpp"
#include "runtime/files/MemoryBlock.hpp"
#include "runtime/files/OpenFile.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>

namespace hearthix {

BinaryStream::BinaryStream(const String& source) : text_(source) {
}

BinaryStream::BinaryStream(const Ref<MemoryBlock>& block) : LittleEndian(block->LittleEndian), block_(block) {
}

BinaryStream::BinaryStream(std::unique_ptr<OpenFile> file) : file_(std::move(file)) {
}

BinaryStream::~BinaryStream() = default;

Ref<BinaryStream> BinaryStream::Create(const Ref<FolderItem>& file, bool overwrite) {
    auto created = OpenFile::create(file->ShellPath(), overwrite);
    return created ? Ref<BinaryStream>::make(std::move(created)) : nullptr;
}

Ref<BinaryStream> BinaryStream::Open(const Ref<FolderItem>& file, bool writable) {
    auto opened = OpenFile::open(file->ShellPath(), writable);
    return opened ? Ref<BinaryStream>::make(std::move(opened)) : nullptr;
}

Integer BinaryStream::Length() const {
    if (file_)
        return static_cast<Integer>(file_->size());
    return block_ ? block_->Size() : LenB(text_);
}

void BinaryStream::setPosition(Integer position) {
    position_ = static_cast<std::size_t>(std::clamp<Integer>(position, 0, Length()));
}

// The next bytes of a string stream, without a copy.
std::string_view BinaryStream::nextOfText(std::size_t count) {
    const std::string_view bytes = text_.view().substr(position_, count);
    position_ += bytes.size();
    return bytes;
}

String BinaryStream::Read(Integer count, TextEncoding encoding) {
    if (count <= 0)
        return String(std::string_view(), encoding);
    const auto wanted = static_cast<std::size_t>(count);
    if (!file_ && !block_) {
        if (text_.encoding() != encoding) // a part of the text gets its tag
            text_.setEncoding(encoding);
        return text_.part(nextOfText(wanted));
    }
    String bytes = file_ ? file_->read(position_, wanted) : block_->StringValue(Position(), count);
    position_ += bytes.size();
    bytes.setEncoding(encoding);
    return bytes;
}

template <class Number>
Number BinaryStream::readNumber() {
    const auto decoded = [this](std::string_view bytes) {
        return bytes.size() < sizeof(Number)
                   ? Number{0}
                   : static_cast<Number>(decodeNumber(bytes.substr(0, sizeof(Number)), LittleEndian));
    };
    return file_ || block_ ? decoded(Read(sizeof(Number))) : decoded(nextOfText(sizeof(Number)));
}

template std::uint8_t BinaryStream::readNumber<std::uint8_t>();
template std::uint16_t BinaryStream::readNumber<std::uint16_t>();
template std::uint32_t BinaryStream::readNumber<std::uint32_t>();

void BinaryStream::Write(std::string_view bytes) {
    if (file_)
        file_->write(position_, bytes);
    else if (block_)
        block_->overwrite(position_, bytes);
    else
        return;
    position_ += bytes.size();
}

void BinaryStream::writeNumber(std::uint64_t value, std::size_t width) {
    char bytes[8];
    encodeNumber(bytes, width, value, LittleEndian);
    Write(std::string_view(bytes, width));
}

void BinaryStream::Close() {
    if (file_)
        error_ = file_->close();
    file_.reset();
    block_ = nullptr;
    text_ = String();
    position_ = 0;
}

} // namespace hearthix
