// Shared by the tests of documents: builders of trees, trees as text, simulated failures, and a temporary
// folder.
#pragma once

#include "document/CXML.hpp"
#include "tests/runtime/Rows.hpp"
#include "tests/support/Pages.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <sys/resource.h>

namespace hearthix::testing {

inline String utf8(std::string_view text) {
    return String(text, TextEncoding::utf8);
}
inline String untagged(std::string_view text) {
    return String(text);
}
inline std::string plain(const String& text) {
    return std::string(text.view());
}

using Pairs = std::vector<std::pair<std::string, std::string>>;
Ref<CXML> node(const std::string& name, const Pairs& values, const std::vector<Ref<CXML>>& children = {});
// Returns a root with this number of nodes below it, each the only child of the previous one.
Ref<CXML> nested(std::size_t levels);
// Loads from bytes and returns whether that raised RuntimeException.
bool loadRaises(CXML& document, std::string_view bytes);
// Returns the tree in one line: "a=1 unit{b=2 } ".
std::string textOf(const CXML& document);
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, std::string_view bytes);

// The lines logged in this test so far.
inline std::vector<std::string> logged;
// What the code under test asks the system for: the calls "sync " and "exchange ", which calls fail, the
// permissions of a file when its owner is set, and the largest allocation since this was last set to 0.
inline std::string calls;
inline bool failSync = false;
inline bool failExchange = false;
inline bool failOwner = false;
inline unsigned modeAtFirst = 0;
inline std::size_t largestAllocation = 0;

// Lowers a limit of the process during its lifetime.
class Lowered {
public:
    Lowered(__rlimit_resource limit, rlim_t value) : limit_(limit) {
        getrlimit(limit, &before_);
        const rlimit lowered{std::min(value, before_.rlim_max), before_.rlim_max};
        setrlimit(limit, &lowered);
    }
    ~Lowered() { setrlimit(limit_, &before_); }

private:
    __rlimit_resource limit_;
    rlimit before_{};
};

// Provides an empty log and a temporary folder, without simulated failures.
class DocumentTest : public ::testing::Test {
protected:
    DocumentTest();
    ~DocumentTest() override { std::filesystem::remove_all(folder); }
    std::filesystem::path at(const std::string& name) const { return folder / name; }
    Ref<FolderItem> item(const std::string& name) const {
        return Ref<FolderItem>::make(utf8(at(name).string()));
    }
    // Returns the names in the folder, sorted, each with a blank after it.
    std::string names() const;

    std::filesystem::path folder;
};

} // namespace hearthix::testing
