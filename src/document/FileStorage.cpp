// Documents in files. The old content of a file is touched only when the new one is complete on the disk. If
// the path is a symbolic link, its target is created or replaced, and the link stays. A replaced file keeps
// its owner and permissions.
#include "document/CXML.hpp"
#include "runtime/files/NewFile.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/values/Exceptions.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

String reasonOf(const std::error_code& error) {
    return String(error.message(), TextEncoding::utf8);
}

[[noreturn]] void giveUpSaving(const Ref<FolderItem>& place, const std::error_code& error) {
    WriteLog("unable to create disk file due to error. Database remains unchanged.");
    WriteLog(concat(place->ShellPath(), ": ", reasonOf(error)));
    throw RuntimeException();
}

} // namespace

bool CXML::SaveToFile(const Ref<FolderItem>& target) const {
    const auto place = target->withoutLink();
    NewFile file(place);
    std::error_code error = file.error();
    if (file.stream()) {
        SaveToBinaryData(file.stream());
        file.stream()->Close();
        error = file.stream()->error();
    }
    if (!error && !file.replaces())
        error = file.appear();
    if (error)
        giveUpSaving(place, error);
    if (!file.replaces())
        return true;
    error = file.replace();
    if (!error)
        return true;
    WriteLog(concat("error swapping files while saving: database remains unchanged ",
                    Str(Integer{error.value()})));
    WriteLog(concat(place->ShellPath(), ": ", reasonOf(error), "; the new content lies in ",
                    file.leftAt()->ShellPath()));
    return false;
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
        // "KDBD" (sic)
        WriteLog(concat("unable to load KDBD file: ", file->Name(), " with message: ", error.Message));
    }
    memory->Close();
}

} // namespace hearthix
