// Tables of results and what they should be, compared byte by byte: the equality of strings ignores case.
#pragma once

#include "runtime/text/String.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace hearthix {

struct Row {
    String got;
    std::string_view want;
};

// "4B 62 64" or "4B6264" as bytes.
inline std::string bytesOf(std::string digits) {
    std::erase(digits, ' ');
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

// The fenced blocks of a page: what stands behind the fence, and the lines between.
struct Block {
    std::string kind;
    std::string text;
};
inline std::vector<Block> blocksOf(const std::string& path) {
    std::vector<Block> blocks;
    std::ifstream page(path);
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```"))
            inside = !inside;
        if (line.starts_with("```") && inside)
            blocks.push_back({line.substr(3), ""});
        else if (inside)
            blocks.back().text += line + "\n";
    }
    return blocks;
}
// Of lines that tell bytes, two blanks, and what the bytes mean.
inline std::string bytesOfLines(const std::string& text) {
    std::string bytes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        bytes += bytesOf(line.substr(0, line.find("  ")));
    return bytes;
}

// Of a long text that isn't spelled out once more.
inline std::uint32_t checksumOf(const String& text) {
    std::uint32_t sum = 0;
    for (const char c : text.view())
        sum = sum * 31 + static_cast<unsigned char>(c);
    return sum;
}

inline void expectRows(std::initializer_list<Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(row.got.view(), row.want) << "row " << &row - rows.begin();
}

} // namespace hearthix
