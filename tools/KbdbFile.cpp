#include "tools/KbdbFile.hpp"

#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Exceptions.hpp"
#include "shell/log/Log.hpp"
#include "tools/KbdbOutput.hpp"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

namespace hearthix {

namespace {

namespace fs = std::filesystem;

// Lets the system resolve the path: FolderItem removes ".." only from the text.
Ref<FolderItem> fileAt(const fs::path& path) {
    return Ref<FolderItem>::make(String(path.string(), TextEncoding::utf8));
}

std::string systemReason() {
    return std::generic_category().message(errno);
}

// The last line that reading or writing a document has logged: the reason after a failure.
std::string lastLogged;

void keepLog() {
    Log::setSink([](const String& line, Integer) { lastLogged = line.view(); });
}

// Stops when the input cannot become a document, because it may be endless.
String readPipe() {
    std::vector<char> chunk(65536);
    String bytes;
    KbdbCensus census;
    for (bool first = true; const std::size_t got = std::fread(chunk.data(), 1, chunk.size(), stdin);
         first = false) {
        bytes.append(std::string_view(chunk.data(), got));
        if (const auto fault = first ? findKbdbFault(bytes, census) : std::nullopt;
            fault && fault->offset == 0)
            break;
    }
    if (std::ferror(stdin) != 0)
        throw KbdbFailure("standard input: can't be read: " + systemReason() + ". Look where it comes from.");
    return bytes;
}

String readFile(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error)
        throw KbdbFailure(
            path + ": can't be reached: " + error.message() +
            ". Check its name and the permissions of its folders; \"kbdb new\" makes a new file.");
    // Reading a pipe or a device could block forever.
    if (!fs::is_regular_file(status))
        throw KbdbFailure(path + ": not a regular file. Name a document file, or - to read from a pipe.");
    const auto stream = BinaryStream::Open(fileAt(fs::canonical(path)), false);
    if (stream.isNil())
        throw KbdbFailure(path + ": can't be opened: " + systemReason() + ". Check its permissions.");
    String bytes = stream->Read(stream->Length());
    if (static_cast<Integer>(bytes.size()) != stream->Length())
        throw KbdbFailure(path + ": byte " + std::to_string(bytes.size()) +
                          ": can't be read any further. Look at the disk.");
    return bytes;
}

void writePipe(const CXML& document) {
    if (KbdbOutput::isTerminal())
        throw KbdbFailure("the document would go to the terminal. Send standard output to a file.",
                          KbdbFailure::kBadUse);
    KbdbOutput::raw(document.SaveToString());
}

void save(const fs::path& path, const CXML& document) {
    keepLog();
    try {
        if (!document.SaveToFile(fileAt(path)))
            throw KbdbFailure(lastLogged + ". The file is unchanged; replace it by hand.");
    } catch (const RuntimeException&) {
        throw KbdbFailure(lastLogged +
                          ". Nothing was written; look for space on the disk and at the rights.");
    }
}

} // namespace

Ref<CXML> KbdbFile::readable() const {
    keepLog();
    auto document = Ref<CXML>::make();
    bool accepted = Left(bytes, 4) == kKbdbMagic;
    try {
        document->loadFromString(bytes);
    } catch (const RuntimeException&) {
        // A faulty header of a child ends the reading; everything before it is kept.
        accepted = document->Containers.Ubound() > 0;
    }
    return accepted ? document : nullptr;
}

std::string KbdbFile::complaint() const {
    return name + ": byte " + std::to_string(fault->offset) + ": " + fault->reason + ". " + fault->remedy;
}

KbdbFile readKbdbFile(const std::string& path) {
    KbdbFile file{
        path == kKbdbPipe ? "standard input" : path, path == kKbdbPipe ? readPipe() : readFile(path), {}, {}};
    file.fault = findKbdbFault(file.bytes, file.census);
    return file;
}

Ref<CXML> readSoundDocument(const std::string& path) {
    const KbdbFile file = readKbdbFile(path);
    if (file.fault)
        throw KbdbFailure(file.complaint());
    return file.readable();
}

void replaceKbdbFile(const std::string& path, const CXML& document, const std::string& keep) {
    if (path == kKbdbPipe)
        return writePipe(document);
    // Saving follows links, too, but must replace the file that was read.
    const fs::path place = fs::canonical(path);
    // A hard link needs no space, and cannot fail half-way.
    std::error_code error;
    if (!keep.empty())
        fs::create_hard_link(place, keep, error);
    if (error)
        throw KbdbFailure(path + ": can't be kept as " + keep + ": " + error.message() +
                          ". Make way for it, or work on a copy.");
    try {
        save(place, document);
    } catch (const KbdbFailure&) {
        if (!keep.empty())
            fs::remove(keep, error);
        throw;
    }
}

void makeKbdbFile(const std::string& path, const CXML& document) {
    if (path == kKbdbPipe)
        return writePipe(document);
    if (fs::exists(path))
        throw KbdbFailure(path + ": is there already. Name another file, or remove this one first.");
    save(fs::weakly_canonical(path), document);
}

} // namespace hearthix
