// Document files as kbdb takes and leaves them. The path kKbdbPipe stands for standard input where a file is
// read, and for standard output where one is written.
//
// Every failure is a KbdbFailure with a sentence for the person at the terminal: which file, where in it,
// what to do.
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

// A file as it was found, sound or not.
struct KbdbFile {
    std::string name; // for people
    String bytes;
    KbdbCensus census;
    std::optional<KbdbFault> fault;

    // What the forgiving reader makes of it; nil when it refuses the bytes.
    Ref<CXML> readable() const;
    // The fault as a sentence, with the file and the position.
    std::string complaint() const;
};

// Reads a file whole. Fails when there is none or when it can't be read.
KbdbFile readKbdbFile(const std::string& path);
// The document of a sound file; fails on any other.
Ref<CXML> readSoundDocument(const std::string& path);
// Replaces the file at the path, or the one that a symbolic link leads to, by the document. It keeps its
// rights; it stays as it was when this fails. The old one can be kept under another name.
void replaceKbdbFile(const std::string& path, const CXML& document, const std::string& keep = "");
// Makes a file that is not there yet.
void makeKbdbFile(const std::string& path, const CXML& document);

} // namespace hearthix
