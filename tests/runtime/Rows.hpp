// Tables of strings and their expected bytes. The comparison does not ignore case, unlike that of String.
#pragma once

#include "runtime/text/String.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string_view>

namespace hearthix {

struct Row {
    String got;
    std::string_view want;
};

inline void expectRows(std::initializer_list<Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(row.got.view(), row.want) << "row " << &row - rows.begin();
}

} // namespace hearthix
