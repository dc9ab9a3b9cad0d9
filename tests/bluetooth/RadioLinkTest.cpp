#include "bluetooth/BluetoothService.h"

#include "bluetooth/BluetoothServiceDelegate.h"
#include "platform/BluetoothCentral.h"
#include "tests/support/MockBluez.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// The service on the real radio of the module, which talks to the stand-in.
class RadioLinkTest : public testing::Test, protected BluetoothServiceDelegate
{
protected:
    void SetUp() override
    {
        if (bluez.missing())
            GTEST_SKIP() << bluez.missing();
        bluez.tell("adapter hci0 on");
        begin(QDBusConnection::systemBus());
    }

    void begin(const QDBusConnection &bus)
    {
        service.reset();
        central.emplace(bus, RadioPatience{700ms, 200ms, 300ms});
        service.emplace(*central);
        service->delegate = this;
        service->scanDuration = 300ms;
    }

    [[nodiscard]] bool waitForState(CentralManager::State state)
    {
        return QTest::qWaitFor([=, this] { return central->state() == state; });
    }

    /// What happens between the beginning of a scan and `last`.
    QStringList scanUntil(const QString &last)
    {
        EXPECT_TRUE(waitForState(CentralManager::State::poweredOn));
        happened.clear();
        service->startScan();
        return until(last);
    }

    QStringList until(const QString &last)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return happened.contains(last); }))
            << qPrintable(happened.join(u','));
        return std::exchange(happened, {});
    }

    void send(const QByteArrayList &values) { bluez.tell("send " + pen + ' ' + values.join(' ')); }

    static QByteArray piece(int count, int index, const QByteArray &text)
    {
        return (QByteArray("\xaa") + char(count) + char(index) + text).toHex();
    }

    void connectionChanged(BluetoothService &, bool connected) override
    {
        happened += connected ? u"connected"_s : u"disconnected"_s;
    }
    void isScanning(BluetoothService &, bool scanning) override
    {
        happened += scanning ? u"scan"_s : u"scanned"_s;
    }
    void showMessage(BluetoothService &, const QString &key) override { happened += key; }
    void didReceiveURL(BluetoothService &, const std::optional<QUrl> &url) override
    {
        happened += url ? url->toString() : u"default video"_s;
    }
    void foundPens(BluetoothService &, const QStringList &names,
                   const std::function<void(int)> &selection) override
    {
        happened += names + QStringList(u"choose"_s);
        choose = selection;
    }

    const QByteArray pen = "AA:BB:CC:DD:EE:01";
    MockBluez bluez;
    std::optional<BluetoothCentral> central;
    std::optional<BluetoothService> service;
    std::function<void(int)> choose;
    QStringList happened;
};

} // namespace

TEST_F(RadioLinkTest, FindsThePenAndPutsItsAddressesTogetherWholeAndInOrder)
{
    bluez.tell("air AA:BB:CC:DD:EE:08 quillo");
    bluez.tell("air " + pen + " Quillo");
    EXPECT_EQ(scanUntil(u"connected"_s), (QStringList{u"scan"_s, u"scanned"_s, u"connected"_s}));
    ASSERT_TRUE(QTest::qWaitFor([this] { return bluez.calls().contains("StartNotify char000b"); }));

    QByteArrayList pieces{piece(2, 0, "//http://a.b/"), piece(2, 1, "c d"), "cc"};
    for (int index = 0; index < 40; ++index)
        pieces += piece(40, index, index == 0 ? "http://" : QByteArray::number(index));
    send(pieces);
    const QString numbers =
        until(u"http://123456789101112131415161718192021222324252627282930313233343536373839"_s)
            .constLast();

    QByteArrayList flood;
    QStringList addresses;
    for (int number = 0; number < 2000; ++number) {
        addresses += u"http://a/"_s + QString::number(number);
        flood += piece(1, 0, addresses.constLast().toLatin1());
    }
    send(flood);
    EXPECT_EQ(until(addresses.constLast()), addresses);
}
