// Reads and writes document files. The path kKbdbPipe means standard input for reading and standard output
// for writing.
//
// Every failure is a KbdbFailure with a sentence for the user: the file, the position, and a remedy.
#pragma once

#include "document/CXML.hpp"
#include "tools/KbdbCheck.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace hearthix {

inline constexpr std::string_view kKbdbPipe = "-";

struct KbdbFailure : std::runtime_error {
    static constexpr int kBadFile = 1;
    static constexpr int kBadUse = 2;

    explicit KbdbFailure(const std::string& sentence, int exitStatus = kBadFile)
        : std::runtime_error(sentence), status(exitStatus) {}

    int status; // of the process
};

// A file that was read, sound or not.
struct KbdbFile {
    std::string name; // for messages
    String bytes;
    KbdbCensus census;
    std::optional<KbdbFault> fault;

    // The document that the tolerant reader reads; nil if it refuses the bytes.
    Ref<CXML> readable() const;
    // The fault as a sentence, with the file and the position.
    std::string complaint() const;
};

// Reads a whole file. Fails if it does not exist or cannot be read.
KbdbFile readKbdbFile(const std::string& path);
// The document of a sound file; fails on any other.
Ref<CXML> readSoundDocument(const std::string& path);
// Replaces the file, or the target of a symbolic link, by the document. The permissions are kept, and a
// failure leaves the file unchanged. The old file can be kept under another name.
void replaceKbdbFile(const std::string& path, const CXML& document, const std::string& keep = "");
// Makes a new file; fails if it exists.
void makeKbdbFile(const std::string& path, const CXML& document);

} // namespace hearthix
