#include "platform/SystemVolumes.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <sys/mount.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

/// A mount table that says what it is told.
class FakeMountTable : public MountTable
{
public:
    QByteArray text() override
    {
        const std::lock_guard lock(m_mutex);
        ++m_reads;
        return QByteArray::fromStdString(m_text);
    }

    bool hasChanged() override { return m_changed.exchange(false); }

    void set(const QByteArrayList &lines)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_text = lines.join('\n').toStdString() + '\n';
        }
        m_changed = true;
    }

    void setAndTell(const QByteArrayList &lines)
    {
        set(lines);
        Q_EMIT changed();
    }

    [[nodiscard]] int reads()
    {
        const std::lock_guard lock(m_mutex);
        return m_reads;
    }

private:
    std::mutex m_mutex;
    std::string m_text;
    int m_reads = 0;
    std::atomic<bool> m_changed = false;
};

const QByteArray rootLine = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw";

QByteArray mediumLine(const QByteArray &name, int id = 90)
{
    return QByteArray::number(id) + " 22 8:17 / /media/anna/" + name
           + " rw,nosuid shared:5 - vfat /dev/sdb1 rw,uid=1000";
}

QStringList namesOf(const QList<Volume> &volumes)
{
    QStringList names;
    for (const Volume &volume : volumes)
        names.append(volume.name);
    return names;
}

struct Watched
{
    explicit Watched(const QByteArrayList &lines)
        : table(new FakeMountTable)
    {
        table->set(lines);
        volumes.emplace(std::unique_ptr<MountTable>(table), QDBusConnection(u"none"_s));
        QObject::connect(&*volumes, &VolumeSource::mounted, &*volumes,
                         [this](const QString &name) { news.append(u'+' + name); });
        QObject::connect(&*volumes, &VolumeSource::unmounted, &*volumes,
                         [this](const QString &name) { news.append(u'-' + name); });
    }

    FakeMountTable *table;
    std::optional<SystemVolumes> volumes;
    QStringList news;
};

} // namespace

struct LineCase
{
    const char *name;
    const char *line;
    std::optional<Mount> expected;
};

class MountTableLine : public testing::TestWithParam<LineCase>
{
};

TEST_P(MountTableLine, IsParsed)
{
    const QList<Mount> mounts =
        parseMountTable(rootLine + '\n' + GetParam().line + "\n" + mediumLine("LAST"));
    ASSERT_EQ(mounts.size(), GetParam().expected ? 3 : 2);
    EXPECT_EQ(mounts.constFirst().mountPoint, u"/"_s);
    EXPECT_EQ(mounts.constLast().mountPoint, u"/media/anna/LAST"_s);
    if (GetParam().expected) {
        EXPECT_EQ(mounts.at(1), *GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, MountTableLine,
    testing::Values(
        LineCase{"plain", "36 22 8:17 / /media/PEN rw,noatime shared:2 - vfat /dev/sdb1 rw",
                 Mount{36, "8:17", u"/"_s, u"/media/PEN"_s, "vfat", u"/dev/sdb1"_s}},
        LineCase{"noTags", "36 22 0:40 /sub /mnt/x ro - tmpfs none ro",
                 Mount{36, "0:40", u"/sub"_s, u"/mnt/x"_s, "tmpfs", u"none"_s}},
        LineCase{"manyTags",
                 "36 22 0:40 / /mnt/x ro shared:1 master:2 unbindable - fuseblk /dev/b ro",
                 Mount{36, "0:40", u"/"_s, u"/mnt/x"_s, "fuseblk", u"/dev/b"_s}},
        LineCase{"blank", R"(36 22 8:1 / /media/NO\040NAME rw - vfat /dev/sdb1 rw)",
                 Mount{36, "8:1", u"/"_s, u"/media/NO NAME"_s, "vfat", u"/dev/sdb1"_s}},
        LineCase{"tabNewlineHash", R"(36 22 8:1 / /media/a\011b\012c\043 rw - vfat /dev/sdb1 rw)",
                 Mount{36, "8:1", u"/"_s, u"/media/a\tb\nc#"_s, "vfat", u"/dev/sdb1"_s}},
        LineCase{"backslashOnce", R"(36 22 8:1 / /media/a\134040b rw - vfat /dev/sdb1 rw)",
                 Mount{36, "8:1", u"/"_s, u"/media/a\\040b"_s, "vfat", u"/dev/sdb1"_s}},
        LineCase{"noOctal", R"(36 22 8:1 / /media/a\09 rw - vfat /dev/s\1 rw)",
                 Mount{36, "8:1", u"/"_s, u"/media/a\\09"_s, "vfat", u"/dev/s\\1"_s}},
        LineCase{"umlaut", "36 22 8:1 / /media/Gr\xc3\xbc\xc3\x9f rw - vfat /dev/sdb1 rw",
                 Mount{36, "8:1", u"/"_s, u"/media/Grüß"_s, "vfat", u"/dev/sdb1"_s}},
        LineCase{"noOptions", "36 22 8:1 / /media/P rw - vfat /dev/sdb1",
                 Mount{36, "8:1", u"/"_s, u"/media/P"_s, "vfat", u"/dev/sdb1"_s}},
        LineCase{"empty", "", std::nullopt}, LineCase{"blanks", "      ", std::nullopt},
        LineCase{"noDash", "36 22 8:17 / /media/PEN rw shared:2 vfat /dev/sdb1 rw", std::nullopt},
        LineCase{"cut", "36 22 8:17 / /media/PEN rw - vfat", std::nullopt},
        LineCase{"noNumber", "x 22 8:17 / /media/PEN rw - vfat /dev/sdb1 rw", std::nullopt},
        LineCase{"dashEarly", "36 22 - / /m", std::nullopt}),
    [](const auto &row) { return row.param.name; });

struct VolumeCase
{
    const char *name;
    const char *line;
    bool isVolume;
};

class VolumeMount : public testing::TestWithParam<VolumeCase>
{
};

TEST_P(VolumeMount, IsToldFromTheSystemsOwn)
{
    const QList<Mount> mounts =
        volumeMounts(parseMountTable(rootLine + '\n' + GetParam().line + '\n'));
    EXPECT_EQ(mounts.size(), GetParam().isVolume ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Mounts, VolumeMount,
    testing::Values(
        VolumeCase{"stick", "30 22 8:17 / /media/anna/QUILLO rw - vfat /dev/sdb1 rw", true},
        VolumeCase{"runMedia", "30 22 8:17 / /run/media/anna/QUILLO rw - vfat /dev/sdb1 rw", true},
        VolumeCase{"mntItself", "30 22 8:17 / /mnt rw - vfat /dev/sdb1 rw", true},
        VolumeCase{"volumes", "30 22 8:17 / /Volumes/QUILLO rw - exfat /dev/sdb1 rw", true},
        VolumeCase{"ntfs", "30 22 8:17 / /media/anna/DISK rw - fuseblk /dev/sdb1 rw", true},
        VolumeCase{"tmpfsInMnt", "30 22 0:50 / /mnt/QUILLO rw - tmpfs none rw", true},
        VolumeCase{"fuseInMedia", "30 22 0:51 / /media/QUILLO rw - fuse.testfs testfs rw", true},
        VolumeCase{"ownPlace", "30 22 8:17 / /pen rw - vfat /dev/sdb1 rw", true},
        VolumeCase{"mediaAlikeName", "30 22 0:50 / /mediation/x rw - tmpfs none rw", false},
        VolumeCase{"mediaRoot", "30 22 0:50 / /media rw - tmpfs none rw", false},
        VolumeCase{"boot", "30 22 8:2 / /boot/efi rw - vfat /dev/sda2 rw", false},
        VolumeCase{"home", "30 22 8:3 / /home rw - ext4 /dev/sda3 rw", false},
        VolumeCase{"homeDirectory", "30 22 8:3 / /home/anna rw - ext4 /dev/sda3 rw", false},
        VolumeCase{"snap", "30 22 7:1 / /snap/core/1 ro - squashfs /dev/loop1 ro", false},
        VolumeCase{"squashInMedia", "30 22 7:1 / /media/x ro - squashfs /dev/loop1 ro", false},
        VolumeCase{"runUser", "30 22 0:44 / /run/user/1000 rw - tmpfs tmpfs rw", false},
        VolumeCase{"shm", "30 22 0:45 / /dev/shm rw - tmpfs tmpfs rw", false},
        VolumeCase{"proc", "30 22 0:5 / /proc rw - proc proc rw", false},
        VolumeCase{"autofsInMnt", "30 22 0:46 / /mnt/auto rw - autofs systemd-1 rw", false},
        VolumeCase{"nfs", "30 22 0:47 / /mnt/share rw - nfs4 server:/share rw", false},
        VolumeCase{"cifs", "30 22 0:47 / /mnt/share rw - cifs //server/share rw", false},
        VolumeCase{"sshfs", "30 22 0:47 / /mnt/far rw - fuse.sshfs anna@far:/ rw", false},
        VolumeCase{"unknownNetwork", "30 22 0:47 / /mnt/far rw - newnetfs far:/export rw", false},
        VolumeCase{"rclone", "30 22 0:47 / /mnt/cloud rw - fuse.rclone cloud: rw", false},
        VolumeCase{"gvfs", "30 22 0:47 / /mnt/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw", false},
        VolumeCase{"rootAgain", "30 22 8:1 /srv /mnt/bound rw - ext4 /dev/sda1 rw", false},
        VolumeCase{"boundFolder", "30 22 8:3 /x /data rw - ext4 /dev/sda3 rw", false}),
    [](const auto &row) { return row.param.name; });

TEST(VolumeMounts, TakesWhatIsOnTopWhereTwoAreMountedAtOnePlace)
{
    const QList<Mount> mounts =
        volumeMounts(parseMountTable(rootLine
                                     + "\n30 22 8:17 / /media/PEN rw - vfat /dev/sdb1 rw"
                                       "\n31 30 0:47 / /media/PEN rw - nfs server:/pen rw"
                                       "\n32 22 8:33 / /media/QUILLO rw - vfat /dev/sdc1 rw"
                                       "\n33 32 8:49 / /media/QUILLO rw - vfat /dev/sdd1 rw"));
    ASSERT_EQ(mounts.size(), 1);
    EXPECT_EQ(mounts.constFirst().id, 33);
}

TEST(SystemVolumes, ListsVolumesInTheOrderOfTheTable)
{
    const Watched watched({rootLine, mediumLine("ZETA"), mediumLine(R"(NO\040NAME)")});
    const QList<Volume> expected = {{u"ZETA"_s, u"/media/anna/ZETA"_s},
                                    {u"NO NAME"_s, u"/media/anna/NO NAME"_s}};
    EXPECT_EQ(watched.volumes->volumes(), expected);
}

TEST(SystemVolumes, ReadsTheTableOnlyWhenItChanged)
{
    const Watched watched({rootLine, mediumLine("QUILLO")});
    EXPECT_EQ(watched.volumes->volumes().size(), 1); // the table was new once
    const int reads = watched.table->reads();
    EXPECT_EQ(watched.volumes->volumes().size(), 1);
    EXPECT_EQ(watched.table->reads(), reads);
    watched.table->set({rootLine});
    EXPECT_TRUE(watched.volumes->volumes().isEmpty());
}

TEST(SystemVolumes, TellsWhatCameAndWent)
{
    Watched watched({rootLine, mediumLine("OLD")});
    watched.table->setAndTell({rootLine, mediumLine("OLD"), mediumLine("QUILLO")});
    EXPECT_EQ(watched.news, QStringList(u"+QUILLO"_s));
    watched.table->setAndTell({rootLine, mediumLine("OLD"), mediumLine("QUILLO")});
    EXPECT_EQ(watched.news.size(), 1);
    watched.table->setAndTell({rootLine, mediumLine("QUILLO")});
    EXPECT_EQ(watched.news, QStringList({u"+QUILLO"_s, u"-OLD"_s}));
}

TEST(SystemVolumes, TellsEvenWhenSomebodyAskedBetweenChangeAndNews)
{
    Watched watched({rootLine});
    watched.table->set({rootLine, mediumLine("QUILLO")});
    EXPECT_EQ(namesOf(watched.volumes->volumes()), QStringList(u"QUILLO"_s));
    Q_EMIT watched.table->changed();
    EXPECT_EQ(watched.news, QStringList(u"+QUILLO"_s));
}

TEST(SystemVolumes, TellsAnotherMediumAtTheSamePlaceFromTheFirst)
{
    Watched watched({rootLine, mediumLine("QUILLO", 90)});
    watched.table->setAndTell({rootLine, mediumLine("QUILLO", 91)});
    EXPECT_EQ(watched.news, QStringList({u"-QUILLO"_s, u"+QUILLO"_s}));
}

TEST(SystemVolumes, IsReadFromOtherThreadsWhileTheTableChanges)
{
    Watched watched({rootLine});
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::thread reader([&] {
        while (!stop)
            wrong += watched.volumes->volumes().size() > 1 ? 1 : 0;
    });
    for (int round = 0; round < 200; ++round)
        watched.table->setAndTell({rootLine, mediumLine(round % 2 ? "A" : "B", round)});
    stop = true;
    reader.join();
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
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(insideVariable), u"1"_s);
    QProcess inside;
    inside.setProcessEnvironment(environment);
    inside.setProcessChannelMode(QProcess::MergedChannels);
    inside.start(u"unshare"_s,
                 {u"-Umr"_s, QCoreApplication::applicationFilePath(),
                  u"--gtest_filter=%1.%2"_s.arg(QString::fromLatin1(test->test_suite_name()),
                                                QString::fromLatin1(test->name()))});
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

bool unmount(const QString &folder)
{
    return ::umount2(QFile::encodeName(folder).constData(), MNT_DETACH) == 0;
}

void checkRealMounts()
{
    SystemVolumes volumes(std::make_unique<KernelMountTable>(), QDBusConnection(u"none"_s));
    const QStringList before = namesOf(volumes.volumes());
    QSignalSpy mounted(&volumes, &VolumeSource::mounted);
    QSignalSpy unmounted(&volumes, &VolumeSource::unmounted);
    ASSERT_TRUE(mountMemory(u"/mnt"_s)) << qPrintable(qt_error_string());
    EXPECT_EQ(namesOf(volumes.volumes()), before + QStringList(u"mnt"_s));
    ASSERT_TRUE(mounted.wait(1000));
    ASSERT_TRUE(QDir(u"/mnt"_s).mkdir(u"NO NAME"_s) && mountMemory(u"/mnt/NO NAME"_s));
    ASSERT_TRUE(mounted.wait(1000));
    EXPECT_EQ(mounted.constLast().constFirst().toString(), u"NO NAME"_s);
    EXPECT_TRUE(volumes.volumes().contains(Volume{u"NO NAME"_s, u"/mnt/NO NAME"_s}));
    ASSERT_TRUE(unmount(u"/mnt/NO NAME"_s));
    ASSERT_TRUE(unmounted.wait(1000));
    EXPECT_EQ(unmounted.constFirst().constFirst().toString(), u"NO NAME"_s);
}

void checkQuietTable()
{
    KernelMountTable table;
    QSignalSpy changed(&table, &MountTable::changed);
    for (int round = 0; round < 5; ++round)
        QCoreApplication::processEvents();
    EXPECT_TRUE(changed.isEmpty());
    EXPECT_FALSE(table.hasChanged());
    ASSERT_TRUE(mountMemory(u"/mnt"_s)) << qPrintable(qt_error_string());
    EXPECT_TRUE(table.hasChanged());
    EXPECT_FALSE(table.hasChanged());
    EXPECT_TRUE(changed.wait(1000)); // asking took no news from those who listen
    EXPECT_TRUE(table.text().contains(" /mnt "));
    changed.clear();
    for (int round = 0; round < 5; ++round)
        QCoreApplication::processEvents();
    EXPECT_TRUE(changed.isEmpty());
}

class KernelMounts : public testing::Test
{
protected:
    static void run(void (*check)())
    {
        if (qEnvironmentVariableIsSet(insideVariable)) {
            check();
            return;
        }
        const std::optional<QString> failure = failureWithOwnMounts();
        if (!failure)
            GTEST_SKIP() << "this user may not make a mount namespace";
        EXPECT_TRUE(failure->isEmpty()) << qPrintable(*failure);
    }
};

} // namespace

TEST_F(KernelMounts, AreNoticedWithinASecond)
{
    run(checkRealMounts);
}

TEST_F(KernelMounts, AreNewsOnceToEveryListener)
{
    run(checkQuietTable);
}

namespace {

/// A bus of the test's own, and on it a stand-in for the disk daemon.
class UnmountTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_daemon.canReadLine(); }))
            << "no dbus-daemon on this system";
        m_address = QString::fromLatin1(m_daemon.readLine()).trimmed();
        m_bus = QDBusConnection::connectToBus(m_address, u"unmounting"_s);
        ASSERT_TRUE(m_bus.isConnected());
        qputenv("PATH", QFile::encodeName(m_programs.path())); // no other helper is found
    }

    void TearDown() override
    {
        qputenv("PATH", m_path);
        QDBusConnection::disconnectFromBus(u"unmounting"_s);
        for (QProcess *process : {&m_disks, &m_daemon}) {
            process->kill();
            process->waitForFinished();
        }
    }

    void startDisks(const QString &mode, const QStringList &mountPoints = {pen().path})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, m_address);
        m_disks.setProcessEnvironment(environment);
        m_disks.start(u"/usr/bin/python3"_s,
                      QStringList({QStringLiteral(TEST_SUPPORT_FOLDER "/mock_udisks2.py"), mode})
                          + mountPoints);
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }, 20'000))
            << m_disks.readAllStandardError().constData();
        ASSERT_EQ(m_disks.readLine(), "ready\n");
    }

    void installDesktopHelper(const QByteArray &script)
    {
        QFile file(m_programs.filePath(u"gio"_s));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("#!/bin/sh\n" + script);
        ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void beginUnmount(const Volume &volume)
    {
        m_volumes.emplace(std::make_unique<FakeMountTable>(), m_bus);
        m_volumes->unmount(volume, [this](const QString &error) { m_errors.append(error); });
    }

    /// The one answer of an unmount.
    QString unmountError(const Volume &volume = pen())
    {
        beginUnmount(volume);
        EXPECT_TRUE(m_errors.isEmpty());
        EXPECT_TRUE(QTest::qWaitFor([this] { return !m_errors.isEmpty(); }, 20'000));
        EXPECT_EQ(m_errors.size(), 1);
        return m_errors.value(0);
    }

    QByteArrayList callsMade()
    {
        m_disks.waitForReadyRead(0);
        QByteArrayList calls = m_disks.readAllStandardOutput().split('\n');
        calls.removeAll(QByteArray());
        return calls;
    }

    static Volume pen() { return {u"NO NAME"_s, u"/media/Jörg/NO NAME"_s}; }

    const QByteArray m_path = qgetenv("PATH");
    QTemporaryDir m_programs;
    QProcess m_daemon;
    QProcess m_disks;
    QString m_address;
    QDBusConnection m_bus{u"none"_s};
    std::optional<SystemVolumes> m_volumes;
    QStringList m_errors;
};

} // namespace

struct ModeCase
{
    const char *name;
    QByteArrayList calls;
    const char *error;
};

class UnmountModes : public UnmountTest, public testing::WithParamInterface<ModeCase>
{
};

TEST_P(UnmountModes, AsksTheDiskDaemon)
{
    startDisks(QString::fromLatin1(GetParam().name));
    EXPECT_EQ(unmountError(), QString::fromLatin1(GetParam().error));
    QByteArrayList calls;
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return (calls += callsMade()).size() >= GetParam().calls.size(); }));
    EXPECT_EQ(calls, GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(
    Modes, UnmountModes,
    testing::Values(ModeCase{"ok", {"Unmount sdq1 []", "PowerOff []"}, ""},
                    ModeCase{"eject", {"Unmount sdq1 []", "Eject []"}, ""},
                    ModeCase{"keep", {"Unmount sdq1 []"}, ""},
                    ModeCase{"gone", {"Unmount sdq1 []", "PowerOff []"}, ""},
                    ModeCase{
                        "busy", {"Unmount sdq1 []"}, "Error unmounting /dev/sdq1: target is busy"},
                    ModeCase{"denied", {"Unmount sdq1 []"}, "Not authorized to perform operation"}),
    [](const auto &row) { return row.param.name; });

TEST_F(UnmountTest, LeavesTheDriveOnWhileAnotherOfItsVolumesIsMounted)
{
    startDisks(u"ok"_s, {u"/media/OTHER"_s, pen().path});
    EXPECT_EQ(unmountError(), QString());
    EXPECT_EQ(callsMade(), QByteArrayList{"Unmount sdq2 []"});
}

TEST_F(UnmountTest, WaitsForASlowDaemonWithoutHoldingUpTheProgram)
{
    startDisks(u"held"_s);
    beginUnmount(pen());
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }));
    EXPECT_EQ(m_disks.readLine(), "Unmount sdq1 []\n");
    EXPECT_TRUE(m_errors.isEmpty());
    m_disks.write("go\n");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_errors.isEmpty(); }));
    EXPECT_EQ(m_errors, QStringList(QString()));
}

TEST_F(UnmountTest, CallsNobodyBackWhoIsGone)
{
    startDisks(u"held"_s);
    beginUnmount(pen());
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }));
    m_volumes.reset();
    m_disks.write("go\n");
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }));
    ASSERT_TRUE(m_bus.interface()->isServiceRegistered(u"org.freedesktop.UDisks2"_s));
    QCoreApplication::processEvents();
    EXPECT_TRUE(m_errors.isEmpty());
}

TEST_F(UnmountTest, TurnsToTheDesktopWithoutADaemon)
{
    installDesktopHelper("echo \"$@\" > \"$0.called\"\n");
    EXPECT_EQ(unmountError(), QString());
    QFile called(m_programs.filePath(u"gio.called"_s));
    ASSERT_TRUE(called.open(QFile::ReadOnly));
    EXPECT_EQ(called.readAll(), "mount -u " + pen().path.toUtf8() + '\n');
}

TEST_F(UnmountTest, TurnsToTheDesktopForAMountTheDaemonDoesNotKnow)
{
    startDisks(u"ok"_s, {u"/media/OTHER"_s});
    installDesktopHelper("exit 0\n");
    EXPECT_EQ(unmountError(), QString());
    EXPECT_TRUE(callsMade().isEmpty());
}

TEST_F(UnmountTest, SaysWhyWhenNothingHelps)
{
    EXPECT_FALSE(unmountError({u"x"_s, m_programs.path()}).isEmpty());
}

TEST_F(UnmountTest, SaysWhyWhenTheDesktopRefusesToo)
{
    installDesktopHelper("echo 'not yours' >&2; exit 2\n");
    const QString error = unmountError({u"x"_s, m_programs.path()});
    EXPECT_FALSE(error.isEmpty());
    if (::geteuid() != 0) {
        EXPECT_EQ(error, u"not yours"_s);
    }
}

TEST_F(UnmountTest, NeedsNoBus)
{
    m_bus = QDBusConnection(u"there is no such bus"_s);
    EXPECT_FALSE(unmountError({u"x"_s, m_programs.path()}).isEmpty());
}
