#include "tools/KbdbFile.hpp"

#include "runtime/values/Exceptions.hpp"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace hearthix {

namespace {

namespace fs = std::filesystem;

// The path comes resolved by the system: a file reference takes ".." out by the letters alone.
Ref<FolderItem> fileAt(const fs::path& path) {
    return Ref<FolderItem>::make(String(path.string(), TextEncoding::utf8));
}

std::string systemReason() {
    return std::generic_category().message(errno);
}

void save(const fs::path& path, const CXML& document) {
    const std::string name = path.string();
    try {
        if (!document.SaveToFile(fileAt(path)))
            throw KbdbFailure(name +
                              ": can't be replaced on this file system; the new content lies beside it. Move "
                              "it into place by hand.");
    } catch (const RuntimeException&) {
        throw KbdbFailure(name +
                          ": can't be written. Look for space on the disk and for the rights of its folder.");
    }
}

} // namespace

Ref<CXML> KbdbFile::document() const {
    auto document = Ref<CXML>::make();
    try {
        document->loadFromString(bytes);
    } catch (const RuntimeException&) {
        // A header that can't be read ends the reading; what stands ahead of it is kept.
    }
    return document;
}

std::string KbdbFile::complaint() const {
    return path + ": byte " + std::to_string(fault->offset) + ": " + fault->reason + ". " + fault->remedy;
}

KbdbFile readKbdbFile(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        throw KbdbFailure(path + ": there is no such file. \"kbdb new\" makes an empty document.");
    if (error)
        throw KbdbFailure(path + ": can't be reached: " + error.message() +
                          ". Look at the rights of its folders.");
    // A pipe or a device could keep us waiting for ever.
    if (!fs::is_regular_file(status))
        throw KbdbFailure(path + ": not a regular file. Name a document file.");
    const auto stream = BinaryStream::Open(fileAt(fs::canonical(path)), false);
    if (stream.isNil())
        throw KbdbFailure(path + ": can't be opened: " + systemReason() + ". Look at its rights.");
    KbdbFile file{path, stream->Read(stream->Length()), {}, {}};
    if (static_cast<Integer>(file.bytes.size()) != stream->Length())
        throw KbdbFailure(path + ": byte " + std::to_string(file.bytes.size()) +
                          ": can't be read any further. Look at the disk.");
    file.fault = findKbdbFault(file.bytes, file.census);
    return file;
}

Ref<CXML> readSoundDocument(const std::string& path) {
    const KbdbFile file = readKbdbFile(path);
    if (file.fault)
        throw KbdbFailure(file.complaint());
    return file.document();
}

void replaceKbdbFile(const std::string& path, const CXML& document) {
    // Saving follows links too, but has to find the very file that was read.
    save(fs::canonical(path), document);
}

void makeKbdbFile(const std::string& path, const CXML& document) {
    if (fs::exists(path))
        throw KbdbFailure(path + ": is there already. Name another file, or remove this one first.");
    const fs::path resolved = fs::weakly_canonical(path);
    if (resolved.has_parent_path() && !fs::exists(resolved.parent_path()))
        throw KbdbFailure(path + ": its folder doesn't exist. Make it first.");
    save(resolved, document);
}

} // namespace hearthix
