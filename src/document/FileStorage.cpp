// Documents in files. The old content of a file is touched only when the new one is complete on the disk.
// Whoever names a symbolic link means the file behind it: that one is made or replaced, and the link stays. A
// replaced file keeps its owner and permissions.
#include "document/CXML.hpp"
#include "log/Log.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/values/Clock.hpp"
#include "runtime/values/Exceptions.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

[[noreturn]] void giveUpSaving() {
    WriteLog("unable to create disk file due to error. Database remains unchanged.");
    throw RuntimeException();
}

// The file takes the rights of the one that it is to replace, if any.
void writeDocument(const CXML& document, const Ref<FolderItem>& file, const Ref<FolderItem>& old = nullptr) {
    if (old)
        file->createPrivate();
    const auto stream = BinaryStream::Create(file, true);
    if (stream.isNil())
        giveUpSaving();
    if (old)
        file->takeRightsOf(old);
    document.SaveToBinaryData(stream);
    stream->Close();
    if (!stream->succeeded()) {
        // A file that could not be filled is no better than one that could not be made.
        file->Delete();
        giveUpSaving();
    }
}

} // namespace

bool CXML::SaveToFile(const Ref<FolderItem>& target) const {
    const auto place = target->withoutLink();
    if (!place->Exists()) {
        writeDocument(*this, place);
        place->syncFolder();
        return true;
    }
    const auto fresh = place->Parent()->Child(concat(Format(Microseconds(), "#"), "_", place->Name()));
    writeDocument(*this, fresh, place);
    if (const Integer status = ExchangeFiles(fresh, place); status != 0) {
        WriteLog(concat("error swapping files while saving: database remains unchanged ", Str(status)));
        return false;
    }
    fresh->Delete();
    return true;
}

void CXML::loadFromFile(const Ref<FolderItem>& file, const Ref<CXML>&) {
    const auto stream = BinaryStream::Open(file, false);
    if (stream.isNil())
        return;
    if (stream->Read(4) != kKbdbMagic) {
        WriteLog(concat("file at: ", file->ShellPath(), " is not an Hearthix binary."));
        return;
    }
    stream->setPosition(0);
    const String content = stream->Read(stream->Length(), Encodings::UTF8);
    stream->Close();
    const auto memory = Ref<BinaryStream>::make(content);
    try {
        LoadFromBinaryStream(memory);
    } catch (const RuntimeException& error) {
        WriteLog(concat("unable to load KDBD file: ", file->Name(), " with message: ", error.Message));
    }
    memory->Close();
}

} // namespace hearthix
