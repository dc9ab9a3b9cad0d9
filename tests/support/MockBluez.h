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
        static Bus bus;
        if (!bus.isRunning)
            m_missing = "no dbus-daemon on this system";
        else
            start();
    }

    ~MockBluez() { stop(); }

    /// What the system lacks for the stand-in; null when it runs.
    [[nodiscard]] const char *missing() const { return m_missing; }

    void start(const QStringList &faults = {})
    {
        m_process.start(QStringLiteral("/usr/bin/python3"),
                        QStringList(QStringLiteral(TEST_SUPPORT_FOLDER "/mock_bluez.py")) + faults);
        if (!readUntil("ready"))
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
        EXPECT_TRUE(readUntil("done"))
            << line.constData() << m_process.readAllStandardError().constData();
    }

    void forgetCalls()
    {
        calls();
        m_calls.clear();
    }

    /// All calls since then, apart from the reading ones.
    QByteArrayList calls()
    {
        m_process.waitForReadyRead(0);
        while (m_process.canReadLine())
            m_calls.append(m_process.readLine().trimmed());
        return m_calls;
    }

private:
    /// One for all tests: Qt connects to the system's bus once.
    struct Bus
    {
        Bus()
        {
            daemon.start(QStringLiteral("dbus-daemon"),
                         {QStringLiteral("--session"), QStringLiteral("--nofork"),
                          QStringLiteral("--print-address=1")});
            isRunning = QTest::qWaitFor([this] { return daemon.canReadLine(); });
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", daemon.readLine().trimmed());
        }
        ~Bus()
        {
            daemon.kill();
            daemon.waitForFinished();
        }
        QProcess daemon;
        bool isRunning = false;
    };

    bool readUntil(const char *end)
    {
        while (QTest::qWaitFor([this] { return m_process.canReadLine(); }, 20'000)) {
            const QByteArray line = m_process.readLine().trimmed();
            if (line == end)
                return true;
            m_calls.append(line);
        }
        return false;
    }

    QProcess m_process;
    QByteArrayList m_calls;
    const char *m_missing = nullptr;
};
