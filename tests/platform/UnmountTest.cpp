#include "platform/Unmounting.h"
#include "platform/Workspace.h"

#include "tests/platform/FakeMountTable.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

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
        stop(m_disks);
        stop(m_daemon);
    }

    static void stop(QProcess &process)
    {
        process.kill();
        process.waitForFinished();
        process.readAllStandardOutput();
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
        m_errors.clear();
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

TEST_F(UnmountTest, AsksTheDiskDaemon)
{
    struct Row
    {
        const char *name; ///< the mode of the daemon
        QByteArrayList calls;
        QString error = {};
    };
    const QByteArray unmount = "Unmount sdq1 []";
    forEachRow<Row>({{"ok", {unmount, "PowerOff []"}},
                     {"eject", {unmount, "Eject []"}},
                     {"keep", {unmount}},
                     {"gone", {unmount, "PowerOff []"}},
                     {"busy", {unmount}, u"Error unmounting /dev/sdq1: target is busy"_s},
                     {"denied", {unmount}, u"Not authorized to perform operation"_s}},
                    [this](const Row &row) {
                        startDisks(QString::fromLatin1(row.name));
                        EXPECT_EQ(unmountError(), row.error);
                        QByteArrayList calls;
                        EXPECT_TRUE(QTest::qWaitFor(
                            [&] { return (calls += callsMade()).size() >= row.calls.size(); }));
                        EXPECT_EQ(calls, row.calls);
                        stop(m_disks);
                    });
}

TEST_F(UnmountTest, LeavesTheDriveOnWhileAnotherOfItsVolumesIsMounted)
{
    startDisks(u"ok"_s, {u"/media/OTHER"_s, pen().path});
    EXPECT_EQ(unmountError(), QString());
    EXPECT_EQ(callsMade(), QByteArrayList{"Unmount sdq2 []"});
}

TEST_F(UnmountTest, FindsAVolumeWithoutLabelByItsAddress)
{
    startDisks(u"keep"_s, {u"/media/anna/OTHER"_s, u"/media/anna/1A2B-3C4D"_s});
    auto table = std::make_unique<FakeMountTable>();
    table->set({rootLine, mediumLine("1A2B-3C4D")});
    SystemVolumes volumes(std::move(table), m_bus);
    Workspace workspace(volumes);
    workspace.unmountVolume(QUrl(u"file:///Volumes/NO%20NAME/"_s),
                            [this](const QString &error) { m_errors.append(error); });
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_errors.isEmpty(); }));
    EXPECT_EQ(m_errors, QStringList(QString()));
    EXPECT_EQ(callsMade(), QByteArrayList{"Unmount sdq2 []"});
}

TEST_F(UnmountTest, WaitsForASlowDaemonWithoutHoldingUpTheProgram)
{
    startDisks(u"held"_s);
    beginUnmount(pen());
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }));
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

TEST_F(UnmountTest, TurnsToTheDesktopWithoutADaemonThatKnowsTheMount)
{
    installDesktopHelper("echo \"$@\" > \"$0.called\"\n");
    const QString called = m_programs.filePath(u"gio.called"_s);
    for (const bool isDaemonThere : {false, true}) {
        if (isDaemonThere)
            startDisks(u"ok"_s, {u"/media/OTHER"_s});
        EXPECT_EQ(unmountError(), QString());
        QFile file(called);
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        EXPECT_EQ(file.readAll(), "mount -u " + pen().path.toUtf8() + '\n');
        ASSERT_TRUE(file.remove());
    }
    EXPECT_TRUE(callsMade().isEmpty());
}

TEST_F(UnmountTest, GivesTheDesktopUpWhenItDoesNotAnswer)
{
    installDesktopHelper("exec /bin/sleep 60\n");
    Unmounting unmounting(m_programs.path(), m_bus);
    unmounting.patience = 100ms;
    QSignalSpy finished(&unmounting, &Unmounting::finished);
    unmounting.start();
    ASSERT_TRUE(finished.wait());
    EXPECT_FALSE(finished.constFirst().constFirst().toString().isEmpty());
}

TEST_F(UnmountTest, SaysWhyWhenNothingHelps)
{
    const Volume folder{u"x"_s, m_programs.path()};
    EXPECT_FALSE(unmountError(folder).isEmpty());
    installDesktopHelper("echo 'not yours' >&2; exit 2\n");
    const QString error = unmountError(folder);
    EXPECT_FALSE(error.isEmpty());
    if (::geteuid() != 0) {
        EXPECT_EQ(error, u"not yours"_s);
    }
    m_bus = QDBusConnection(u"there is no such bus"_s);
    EXPECT_FALSE(unmountError(folder).isEmpty());
}
