// Reads the examples in the pages of the documentation, with bytes in hexadecimal.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace hearthix {

// "4B 62 64" or "4B6264" as bytes.
inline std::string bytesOf(std::string digits) {
    std::erase(digits, ' ');
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

// For lines of bytes, two blanks and an explanation.
inline std::string bytesOfLines(const std::string& text) {
    std::string bytes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        bytes += bytesOf(line.substr(0, line.find("  ")));
    return bytes;
}

// The fenced blocks of a page: the word behind the fence, and the lines between.
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

} // namespace hearthix
