#pragma once

#include "tests/support/Printers.h"

#include <QFile>
#include <QStandardPaths>
#include <QStringList>

#include <gtest/gtest.h>

inline QString logPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
           + QStringLiteral("/log.txt");
}

/// The lines of the application log so far, without the blank and line feed that end an entry.
inline QStringList logEntries()
{
    QFile file(logPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList entries = QString::fromUtf8(file.readAll()).split(QStringLiteral(" \n"));
    entries.removeLast();
    return entries;
}

/// Standard output from construction to lines(), without the log's "FilePath: " lines.
class CapturedOutput
{
public:
    CapturedOutput() { testing::internal::CaptureStdout(); }
    ~CapturedOutput()
    {
        if (!m_taken)
            testing::internal::GetCapturedStdout();
    }
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    [[nodiscard]] QStringList lines()
    {
        m_taken = true;
        QStringList lines =
            QString::fromStdString(testing::internal::GetCapturedStdout()).split(u'\n');
        lines.removeLast();
        lines.removeIf(
            [](const QString &line) { return line.startsWith(QStringLiteral("FilePath: ")); });
        return lines;
    }

private:
    bool m_taken = false;
};
