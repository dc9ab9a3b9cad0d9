#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <ostream>
#include <string>

#include <gtest/gtest.h>

// How failed expectations show Qt's texts.

inline void PrintTo(const QString &text, std::ostream *stream)
{
    *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray &bytes, std::ostream *stream)
{
    constexpr qsizetype shown = 200;
    *stream << bytes.size() << " bytes: \"" << bytes.left(shown).toStdString() << '"';
}

/// The name of a data row, for INSTANTIATE_TEST_SUITE_P.
template <typename Row>
std::string rowName(const testing::TestParamInfo<Row> &row)
{
    return row.param.name;
}
