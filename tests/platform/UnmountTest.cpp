#include "platform/Workspace.h"

#include "tests/platform/FakeMountTable.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

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
    }

    void TearDown() override
    {
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

    void beginUnmount(const Volume &volume = pen())
    {
        m_errors.clear();
        m_volumes.emplace(std::make_unique<FakeMountTable>(), m_bus);
        m_volumes->unmount(volume, note);
        EXPECT_TRUE(m_errors.isEmpty());
    }

    /// The one answer of an unmount.
    QString answer()
    {
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

    QTemporaryDir m_folder;
    QProcess m_daemon;
    QProcess m_disks;
    QString m_address;
    QDBusConnection m_bus{u"none"_s};
    std::optional<SystemVolumes> m_volumes;
    QStringList m_errors;
    const std::function<void(const QString &)> note = [this](const QString &error) {
        m_errors.append(error);
    };
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
                        beginUnmount();
                        EXPECT_EQ(answer(), row.error);
                        QByteArrayList calls;
                        EXPECT_TRUE(QTest::qWaitFor(
                            [&] { return (calls += callsMade()).size() >= row.calls.size(); }));
                        EXPECT_EQ(calls, row.calls);
                        stop(m_disks);
                    });
}

TEST_F(UnmountTest, FindsAVolumeByItsAddressAndLeavesItsDriveOnWhileAnotherIsMounted)
{
    startDisks(u"ok"_s, {u"/media/anna/OTHER"_s, u"/media/anna/1A2B-3C4D"_s});
    auto table = std::make_unique<FakeMountTable>();
    table->set({rootLine, mediumLine("1A2B-3C4D")});
    m_volumes.emplace(std::move(table), m_bus);
    Workspace(*m_volumes).unmountVolume(QUrl(u"file:///Volumes/NO%20NAME/"_s), note);
    EXPECT_EQ(answer(), QString());
    EXPECT_EQ(callsMade(), QByteArrayList{"Unmount sdq2 []"});
}

TEST_F(UnmountTest, WaitsForASlowDaemonWithoutHoldingUpTheProgramAndCallsNobodyBackWhoIsGone)
{
    for (const bool isGone : {false, true}) {
        startDisks(u"held"_s);
        beginUnmount();
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }));
        EXPECT_EQ(callsMade().size(), 1);
        EXPECT_TRUE(m_errors.isEmpty());
        if (isGone)
            m_volumes.reset();
        m_disks.write("go\n");
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_disks.canReadLine(); }));
        ASSERT_TRUE(m_bus.interface()->isServiceRegistered(u"org.freedesktop.UDisks2"_s));
        QCoreApplication::processEvents();
        EXPECT_EQ(isGone ? QStringList() : QStringList(answer()), m_errors);
        stop(m_disks);
    }
}

TEST_F(UnmountTest, SaysWhyWhereNoDaemonKnowsTheMountAndTheSystemRefuses)
{
    const Volume folder{u"x"_s, m_folder.path()};
    beginUnmount(folder);
    EXPECT_FALSE(answer().isEmpty()) << "without a daemon";
    startDisks(u"ok"_s, {u"/media/OTHER"_s});
    beginUnmount(folder);
    EXPECT_FALSE(answer().isEmpty());
    EXPECT_TRUE(callsMade().isEmpty());
    m_bus = QDBusConnection(u"there is no such bus"_s);
    beginUnmount(folder);
    EXPECT_FALSE(answer().isEmpty());
}
