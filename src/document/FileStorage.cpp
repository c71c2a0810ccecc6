// Documents in files. The old content of a file is touched only when the new one is complete on the disk.
#include "document/CXML.hpp"
#include "runtime/Clock.hpp"
#include "runtime/Exceptions.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"
#include "shell/Logging.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

[[noreturn]] void giveUpSaving() {
    WriteLog("unable to create disk file due to error. Database remains unchanged.");
    throw RuntimeException();
}

void writeDocument(const CXML& document, const Ref<FolderItem>& file) {
    const auto stream = BinaryStream::Create(file, true);
    if (stream.isNil())
        giveUpSaving();
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
    if (!target->Exists()) {
        writeDocument(*this, target);
        return true;
    }
    const auto fresh = target->Parent()->Child(concat(Format(Microseconds(), "#"), "_", target->Name()));
    writeDocument(*this, fresh);
    if (const Integer status = ExchangeFiles(fresh, target); status != 0) {
        WriteLog(String("error swapping files while saving: database remains unchanged ") + Str(status));
        return false;
    }
    fresh->Delete();
    return true;
}

void CXML::loadFromFile(const Ref<FolderItem>& file, const Ref<CXML>&) {
    const auto stream = BinaryStream::Open(file, false);
    if (stream.isNil())
        return;
    if (!(stream->Read(4) == kKbdbMagic)) {
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
