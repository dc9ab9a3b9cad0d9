#pragma once

#include "platform/FileManager.h"
#include "tests/support/Printers.h"

#include <QFile>
#include <QStringList>

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

/// Standard output from construction to lines(), without the lines that name the log.
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
        QStringList lines = QString::fromStdString(testing::internal::GetCapturedStdout())
                                .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        lines.removeIf(
            [](const QString &line) { return line.startsWith(QStringLiteral("FilePath: ")); });
        return lines;
    }

private:
    bool m_taken = false;
};

/// The lines that `work` prints.
template <typename Work>
[[nodiscard]] QStringList printedBy(const Work &work)
{
    CapturedOutput output;
    work();
    return output.lines();
}
