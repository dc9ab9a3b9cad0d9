#include "tests/platform/FakeMountTable.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>

#include <sys/mount.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

struct Watched
{
    explicit Watched(const QByteArrayList &lines)
        : table(new FakeMountTable)
    {
        table->set(lines);
        volumes.emplace(std::unique_ptr<MountTable>(table), QDBusConnection(u"none"_s));
        QObject::connect(&*volumes, &VolumeSource::mounted,
                         [this](const QString &name) { news.append(u'+' + name); });
        QObject::connect(&*volumes, &VolumeSource::unmounted,
                         [this](const QString &name) { news.append(u'-' + name); });
    }

    FakeMountTable *table;
    std::optional<SystemVolumes> volumes;
    QStringList news;
};

} // namespace

TEST(SystemVolumes, ListsVolumesInTheOrderOfTheTable)
{
    const Watched watched({rootLine, mediumLine(R"(NO\040NAME\0401)"), mediumLine("1A2B-3C4D"),
                           mediumLine(R"(NO\040NAME)"), mediumLine("1A2B-3C4D1")});
    const QList<Volume> expected = {{u"NO NAME 1"_s, u"/media/anna/NO NAME 1"_s},
                                    {u"NO NAME"_s, u"/media/anna/1A2B-3C4D"_s},
                                    {u"NO NAME 2"_s, u"/media/anna/NO NAME"_s},
                                    {u"NO NAME 3"_s, u"/media/anna/1A2B-3C4D1"_s}};
    EXPECT_EQ(watched.volumes->volumes(), expected);
    EXPECT_EQ(watched.volumes->volume(u"NO NAME 2"_s), expected.at(2));
}

TEST(SystemVolumes, TellsWhatCameAndWent)
{
    Watched watched({rootLine, mediumLine("OLD")});
    watched.table->set({rootLine, mediumLine("OLD"), mediumLine("QUILLO")});
    EXPECT_EQ(namesOf(watched.volumes->volumes()), QStringList({u"OLD"_s, u"QUILLO"_s}));
    for (int round = 0; round < 2; ++round) // also what somebody asked for before the news came
        Q_EMIT watched.table->changed();
    EXPECT_EQ(watched.news, QStringList(u"+QUILLO"_s));
    watched.table->setAndTell({rootLine, mediumLine("QUILLO")});
    EXPECT_EQ(watched.news, QStringList({u"+QUILLO"_s, u"-OLD"_s}));
    watched.news.clear();
    watched.table->setAndTell({rootLine, mediumLine("QUILLO", 91)}); // another medium
    EXPECT_EQ(watched.news, QStringList({u"-QUILLO"_s, u"+QUILLO"_s}));
}

TEST(SystemVolumes, IsReadFromOtherThreadsWhileTheTableChanges)
{
    Watched watched({rootLine});
    std::atomic<int> wrong = 0;
    {
        const std::jthread reader([&](const std::stop_token &stop) {
            while (!stop.stop_requested())
                wrong += watched.volumes->volumes().size() > 1 ? 1 : 0;
        });
        for (int round = 0; round < 200; ++round)
            watched.table->setAndTell({rootLine, mediumLine(round % 2 ? "A" : "B", round)});
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(watched.news.size(), 399);
}

namespace {

constexpr auto insideVariable = "QUILLO_TEST_OWN_MOUNTS";

/// Runs the current test once more where it may mount; absent where that is not possible.
std::optional<QString> failureWithOwnMounts()
{
    if (QProcess::execute(u"unshare"_s, {u"-Umr"_s, u"true"_s}) != 0)
        return std::nullopt;
    const auto *test = testing::UnitTest::GetInstance()->current_test_info();
    QProcess inside;
    inside.setProcessChannelMode(QProcess::MergedChannels);
    qputenv(insideVariable, "1");
    inside.start(u"unshare"_s,
                 {u"-Umr"_s, QCoreApplication::applicationFilePath(),
                  u"--gtest_filter=%1.%2"_s.arg(QString::fromLatin1(test->test_suite_name()),
                                                QString::fromLatin1(test->name()))});
    qunsetenv(insideVariable);
    const bool ended = inside.waitForFinished(60'000);
    const QString output = QString::fromLocal8Bit(inside.readAll());
    return ended && inside.exitStatus() == QProcess::NormalExit && inside.exitCode() == 0
               ? QString()
               : u"inside: "_s + output;
}

bool mountMemory(const QString &folder)
{
    return ::mount("none", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=1m") == 0;
}

void checkRealMounts()
{
    SystemVolumes volumes(std::make_unique<KernelMountTable>(), QDBusConnection(u"none"_s));
    const QStringList before = namesOf(volumes.volumes());
    QSignalSpy mounted(&volumes, &VolumeSource::mounted);
    QSignalSpy unmounted(&volumes, &VolumeSource::unmounted);
    ASSERT_TRUE(mountMemory(u"/mnt"_s)) << qPrintable(qt_error_string());
    EXPECT_EQ(namesOf(volumes.volumes()), before + QStringList(u"mnt"_s));
    ASSERT_TRUE(mounted.wait());
    ASSERT_TRUE(QDir(u"/mnt"_s).mkdir(u"NO NAME"_s) && mountMemory(u"/mnt/NO NAME"_s));
    ASSERT_TRUE(mounted.wait());
    EXPECT_EQ(told(mounted), QStringList({u"mnt"_s, u"NO NAME"_s}));
    EXPECT_TRUE(volumes.volumes().contains(Volume{u"NO NAME"_s, u"/mnt/NO NAME"_s}));
    ASSERT_EQ(::umount2("/mnt/NO NAME", MNT_DETACH), 0);
    ASSERT_TRUE(unmounted.wait());
    EXPECT_EQ(told(unmounted), QStringList(u"NO NAME"_s));
    ::umount2("/mnt", MNT_DETACH);
}

void checkQuietTable()
{
    KernelMountTable table;
    QSignalSpy changed(&table, &MountTable::changed);
    QCoreApplication::processEvents();
    EXPECT_TRUE(changed.isEmpty());
    EXPECT_FALSE(table.hasChanged());
    ASSERT_TRUE(mountMemory(u"/mnt"_s)) << qPrintable(qt_error_string());
    EXPECT_TRUE(table.hasChanged());
    EXPECT_FALSE(table.hasChanged());
    EXPECT_TRUE(changed.wait()); // asking took no news from those who listen
    EXPECT_TRUE(table.text().contains(" /mnt "));
    changed.clear();
    QCoreApplication::processEvents();
    EXPECT_TRUE(changed.isEmpty());
}

} // namespace

TEST(KernelMounts, AreNoticedAndNewsOnceToEveryListener)
{
    if (qEnvironmentVariableIsSet(insideVariable)) {
        checkRealMounts();
        checkQuietTable();
        return;
    }
    const std::optional<QString> failure = failureWithOwnMounts();
    if (!failure)
        GTEST_SKIP() << "this user may not make a mount namespace";
    EXPECT_TRUE(failure->isEmpty()) << qPrintable(*failure);
}
