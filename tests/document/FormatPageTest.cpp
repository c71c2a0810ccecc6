// The page that describes the format, held against the code.
#include "tests/document/KbdbProcess.hpp"

#include <fstream>

namespace hearthix::testing {
namespace {

// A fenced block and the kind of it, the word behind "```kbdb"; and the text block that follows.
struct Example {
    std::string kind;
    std::string bytes;
    std::string text;
};

std::vector<Example> examplesOf(const std::string& path) {
    std::vector<Example> examples;
    std::ifstream page(path);
    std::string fence;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("```", 0) == 0) {
            fence = fence.empty() ? line.substr(3) : "";
            if (fence.rfind("kbdb ", 0) == 0)
                examples.push_back({fence.substr(5), "", ""});
        } else if (fence == "text" && !examples.empty()) {
            examples.back().text += line + "\n";
        } else if (fence.rfind("kbdb ", 0) == 0) {
            examples.back().bytes += bytesOf(line.substr(0, line.find("  ")));
        }
    }
    return examples;
}

using FormatPage = KbdbTest;

TEST_F(FormatPage, ExamplesReadAndWriteAsDescribed) {
    const std::vector<Example> examples = examplesOf(FORMAT_PAGE);
    ASSERT_GE(examples.size(), 9U);
    for (const auto& [kind, bytes, text] : examples) {
        writeFile(at("d"), bytes);
        const Run check = run({"check", "d"});
        if (kind == "broken") {
            EXPECT_EQ(check.status, "1") << text;
            EXPECT_EQ(check.complaint.rfind("kbdb: d: " + text.substr(0, text.size() - 1) + ". ", 0), 0U)
                << check.complaint;
            continue;
        }
        EXPECT_EQ(check.complaint, "") << text;
        EXPECT_EQ(run({"show", "d"}).output, text);
        CXML document;
        EXPECT_FALSE(loadRaises(document, bytes));
        EXPECT_EQ(plain(document.SaveToString()) == bytes, kind == "written") << text;
    }
}

} // namespace
} // namespace hearthix::testing
