#include "base/ApplicationLog.h"

#include "tests/support/Traces.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <filesystem>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

class ApplicationLogTest : public testing::Test
{
protected:
    ApplicationLogTest()
    {
        qputenv("HOME", m_home.path().toUtf8());
        folder = FileManager::documentsFolder().value();
        log = folder + u"/log.txt"_s;
    }

    [[nodiscard]] QByteArray content() const
    {
        QFile file(log);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }

    /// All that is printed, the line that names the file, too.
    static QByteArray output(const QString &line)
    {
        testing::internal::CaptureStdout();
        writeLog(line);
        return QByteArray::fromStdString(testing::internal::GetCapturedStdout());
    }

    QString folder;
    QString log;

private:
    QTemporaryDir m_home;
};

} // namespace

TEST_F(ApplicationLogTest, EntriesAreAppendedToAFileThatTheFirstMakes)
{
    QDir().rmdir(folder);
    for (const QString &line : {u"a"_s, u"b\nc"_s, u"Größe 2 €"_s, QString()})
        EXPECT_EQ(output(line), "FilePath: " + log.toUtf8() + '\n');
    EXPECT_EQ(content(), "a \nb\nc \nGröße 2 € \n \n");
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList(u"log.txt"_s));
}

TEST_F(ApplicationLogTest, FollowsTheNameWhenTheFileGoesOrIsReplaced)
{
    writeLog(u"one"_s);
    QFile::remove(log);
    writeLog(u"two"_s);
    EXPECT_EQ(content(), "two \n");
    ASSERT_TRUE(QFile::rename(log, log + u".1"_s));
    ASSERT_TRUE(QFile::copy(log + u".1"_s, log));
    writeLog(u"three"_s);
    EXPECT_EQ(content(), "two \nthree \n");
    QFile::resize(log, 0);
    writeLog(u"four"_s);
    EXPECT_EQ(content(), "four \n");
}

TEST_F(ApplicationLogTest, PrintsWhyNothingCouldBeWrittenAndRecovers)
{
    const QByteArray first = "FilePath: " + log.toUtf8() + '\n';
    ASSERT_TRUE(QDir(folder).mkdir(u"log.txt.new"_s));
    EXPECT_EQ(output(u"lost"_s), first + "Failed writing to URL: file://" + log.toUtf8()
                                     + ", Error: Is a directory\n");
    std::filesystem::create_symlink("/dev/full", log.toStdString());
    EXPECT_EQ(output(u"lost"_s), first + "Error writing to file No space left on device\n");
    ASSERT_TRUE(QFile::remove(log) && QDir(folder).rmdir(u"log.txt.new"_s));
    writeLog(u"kept"_s);
    EXPECT_EQ(content(), "kept \n");

    qputenv("HOME", log.toUtf8());
    EXPECT_EQ(output(u"no folder for it"_s), "");
    const LogBatch batch;
    EXPECT_EQ(output(u"no folder for it"_s), "");
}

TEST_F(ApplicationLogTest, EntriesOfSeveralThreadsStayWhole)
{
    constexpr int threads = 4;
    constexpr int perThread = 200;
    const auto entry = [](int writer, int number) {
        return u"%1: %2 "_s.arg(writer).arg(number) + QString(300, QChar(u'a' + writer));
    };
    qputenv("XDG_CONFIG_HOME", folder.toUtf8()); // so that they look for the folder again
    testing::internal::CaptureStdout();
    std::vector<std::jthread> writers;
    for (int i = 0; i < threads; ++i)
        writers.emplace_back([&entry, i] {
            for (int j = 0; j < perThread; ++j)
                writeLog(entry(i, j));
        });
    writers.clear();
    EXPECT_EQ(QString::fromStdString(testing::internal::GetCapturedStdout()),
              (u"FilePath: "_s + log + u'\n').repeated(threads * perThread));

    QList<int> next(threads, 0);
    for (const QString &found : logEntries()) {
        const int writer = found.left(1).toInt();
        EXPECT_EQ(found, entry(writer, next[writer]++));
    }
    EXPECT_EQ(next, QList<int>(threads, perThread));
}

TEST_F(ApplicationLogTest, BatchWritesItsEntriesInOrderAndInBlocks)
{
    testing::internal::CaptureStdout();
    {
        const LogBatch batch;
        writeLog(u"a"_s);
        {
            const LogBatch inner;
            writeLog(u"b"_s);
        }
        std::jthread([] { writeLog(u"of another thread"_s); }).join();
        EXPECT_EQ(logEntries(), QStringList(u"of another thread"_s)) << "the batch is not gathered";
    }
    EXPECT_EQ(logEntries(), QStringList({u"of another thread"_s, u"a"_s, u"b"_s}));
    const QString printed = QString::fromStdString(testing::internal::GetCapturedStdout());
    EXPECT_EQ(printed, (u"FilePath: "_s + log + u'\n').repeated(3));

    const LogBatch batch;
    const QString line(1000, u'x');
    for (int i = 0; i < 40; ++i)
        writeLog(line);
    EXPECT_GT(logEntries().size(), 30) << "a crash would lose too much";
}
