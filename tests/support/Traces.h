#pragma once

#include "platform/FileManager.h"

#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

// What the program leaves behind for those who look for a fault: its log and its standard output.

[[nodiscard]] inline QString logPath()
{
    return FileManager::documentsFolder().value_or(QString()) + QStringLiteral("/log.txt");
}

inline void removeLog()
{
    QFile::remove(logPath());
}

/// The entries of the log without their ends.
[[nodiscard]] inline QStringList logEntries()
{
    QFile file(logPath());
    if (!file.open(QFile::ReadOnly))
        return {};
    QStringList entries = QString::fromUtf8(file.readAll()).split(QStringLiteral(" \n"));
    EXPECT_EQ(entries.takeLast(), QString()) << "the log ends in the middle of an entry";
    return entries;
}

/// The entries that `work` adds.
template <typename Work>
[[nodiscard]] QStringList loggedBy(const Work &work)
{
    removeLog();
    work();
    return logEntries();
}

/// The lines of a captured standard output, without those that name the log.
[[nodiscard]] inline QStringList capturedLines()
{
    QStringList lines = QString::fromStdString(testing::internal::GetCapturedStdout())
                            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.removeIf(
        [](const QString &line) { return line.startsWith(QStringLiteral("FilePath: ")); });
    return lines;
}

/// The lines that `work` prints.
template <typename Work>
[[nodiscard]] QStringList printedBy(const Work &work)
{
    testing::internal::CaptureStdout();
    work();
    return capturedLines();
}
