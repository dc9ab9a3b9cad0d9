#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QTest>

#include <csignal>

/// A bus of the test program's own, which takes the system's place, and on it a stand-in for the
/// Bluetooth daemon; see mock_bluez.py for what it can be told.
class MockBluez
{
public:
    MockBluez()
    {
        static QProcess bus; // one for all tests: Qt connects to the system's bus once
        if (bus.state() == QProcess::NotRunning) {
            bus.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address=1")});
            if (QTest::qWaitFor([] { return bus.canReadLine(); }))
                qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.readLine().trimmed());
        }
        if (bus.state() == QProcess::NotRunning)
            m_missing = "no dbus-daemon on this system";
        else
            start();
    }

    ~MockBluez() { stop(); }

    /// What the system lacks for the stand-in; null when it runs.
    [[nodiscard]] const char *missing() const { return m_missing; }

    void start()
    {
        m_process.start(QStringLiteral("/usr/bin/python3"),
                        {QStringLiteral(TEST_SUPPORT_FOLDER "/mock_bluez.py")});
        if (!readUntil("ready\n"))
            m_missing = "no python3-dbus or python3-gi on this system";
    }

    /// As a crash does.
    void stop()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    void hang(bool hangs) const { ::kill(pid_t(m_process.processId()), hangs ? SIGSTOP : SIGCONT); }

    void tell(const QByteArray &line)
    {
        m_process.write(line + '\n');
        EXPECT_TRUE(readUntil("done\n"))
            << line.constData() << m_process.readAllStandardError().constData();
    }

    /// All calls so far, apart from the reading ones.
    [[nodiscard]] QByteArrayList calls()
    {
        m_process.waitForReadyRead(0);
        while (m_process.canReadLine())
            m_calls.append(m_process.readLine().trimmed());
        return m_calls;
    }

private:
    bool readUntil(const char *end)
    {
        while (m_process.canReadLine() || m_process.waitForReadyRead(20'000)) {
            const QByteArray line = m_process.readLine();
            if (line == end)
                return true;
            m_calls.append(line.trimmed());
        }
        return false;
    }

    QProcess m_process;
    QByteArrayList m_calls;
    const char *m_missing = nullptr;
};
