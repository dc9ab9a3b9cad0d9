#pragma once

#include <initializer_list>

#include <gtest/gtest.h>

/// Checks every row of a table; a failure shows the row's member `name`.
template <typename Row, typename Check>
void forEachRow(std::initializer_list<Row> rows, const Check &check)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        check(row);
    }
}
