#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

/// What a run leaves behind, as sections of lines, against a file in tests/golden. When a
/// difference is meant to be, record it anew:
///
///     QUILLO_RECORD=1 build/debug/bin/test_update_run --gtest_filter='*Trace*'
class GoldenTrace
{
public:
    void add(const QString &title, const QStringList &lines)
    {
        m_lines += QStringLiteral("# ") + title;
        for (QString line : lines)
            m_lines += line.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    }

    void expectAsIn(const QString &name) const
    {
        const QByteArray text = m_lines.join(QLatin1Char('\n')).toUtf8() + '\n';
        QFile file(QStringLiteral(TEST_GOLDEN) + name);
        if (qEnvironmentVariableIsSet("QUILLO_RECORD"))
            EXPECT_TRUE(file.open(QFile::WriteOnly) && file.write(text) == text.size());
        else if (!file.open(QFile::ReadOnly) || file.readAll() != text)
            ADD_FAILURE() << difference(file.fileName(), text).constData();
    }

private:
    [[nodiscard]] static QByteArray difference(const QString &file, const QByteArray &text)
    {
        QProcess diff;
        diff.start(QStringLiteral("diff"), {QStringLiteral("-u"), file, QStringLiteral("-")});
        diff.write(text);
        diff.closeWriteChannel();
        return diff.waitForFinished() ? diff.readAllStandardOutput() : text;
    }

    QStringList m_lines;
};
