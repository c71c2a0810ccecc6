// Tables of results and what they should be, compared byte by byte: the equality of strings ignores case.
#pragma once

#include "runtime/String.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

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

inline void expectRows(std::initializer_list<Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(row.got.view(), row.want) << "row " << &row - rows.begin();
}

} // namespace hearthix
