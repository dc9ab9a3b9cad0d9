#include "platform/BluetoothCentral.h"
#include "tests/bluetooth/BluetoothFixture.h"
#include "tests/support/MockBluez.h"
#include "tests/support/Rows.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// The service on the real radio of the module, which talks to the stand-in.
class RadioLinkTest : public testing::Test, protected ToldByRadio
{
protected:
    using State = CentralManager::State;

    void SetUp() override
    {
        if (bluez.missing())
            GTEST_SKIP() << bluez.missing();
        begin({"adapter hci0 on"});
    }

    /// A new program, on a bus that holds what the lines say.
    void begin(const QByteArrayList &lines)
    {
        service.reset();
        bluez.stop();
        bluez.start();
        for (const QByteArray &line : lines)
            bluez.tell(line);
        startProgram(QDBusConnection::systemBus());
    }

    void startProgram(const QDBusConnection &bus)
    {
        service.reset();
        central.emplace(bus, patience);
        service.emplace(*central);
        service->delegate = this;
        service->scanDuration = briefly;
    }

    [[nodiscard]] bool waitForState(State state)
    {
        return QTest::qWaitFor([=, this] { return central->state() == state; });
    }

    [[nodiscard]] std::function<void()> telling(const QByteArray &line)
    {
        return [this, line] {
            bluez.tell(line);
        };
    }

    /// What happens between the beginning of a scan and `last`. The scan is short, and begun anew
    /// when it has heard nothing, unless something is to happen `meanwhile`.
    QStringList scanUntil(const QString &last, const std::function<void()> &meanwhile = nullptr)
    {
        EXPECT_TRUE(waitForState(State::poweredOn));
        if (meanwhile)
            service->scanDuration = std::max(service->scanDuration, 250ms);
        int scans = meanwhile ? 1 : 20;
        do {
            told.clear();
            bluez.forgetCalls();
            service->startScan();
            if (meanwhile) {
                EXPECT_TRUE(waitForCall("StartDiscovery hci0"));
                meanwhile();
            }
            EXPECT_TRUE(QTest::qWaitFor([&] { return told.contains(last) || told.contains(none); },
                                        10'000));
        } while (--scans > 0 && told.contains(none));
        service->scanDuration = briefly;
        return upTo(last);
    }

    bool waitForCall(const QByteArray &call)
    {
        return QTest::qWaitFor([&] { return bluez.calls().contains(call); });
    }

    void send(const QByteArrayList &values)
    {
        QByteArray line = "send " + pen;
        for (const QByteArray &value : values)
            line += ' ' + value.toHex();
        bluez.tell(line);
    }

    void showMessage(BluetoothService &link, const QString &key) override
    {
        ToldByRadio::showMessage(link, key);
        stateAtMessage = central->state();
    }
    void didReceiveURL(BluetoothService &link, const std::optional<QUrl> &url) override
    {
        ToldByRadio::didReceiveURL(link, url);
        if (told.constLast() == u"http://stop"_s)
            link.disconnect();
    }

    static constexpr auto briefly = 50ms;
    const QString none = u"bluetooth_no_quillo_found"_s;
    RadioPatience patience{10s, 250ms, 250ms};
    const QByteArray pen = "AA:BB:CC:DD:EE:01";
    const QByteArray penInReach = "air " + pen + " Quillo";
    const QStringList failed{u"bluetooth_connection_failed"_s, u"not connected"_s};
    MockBluez bluez;
    std::optional<BluetoothCentral> central;
    std::optional<BluetoothService> service;
    State stateAtMessage = State::unknown;
};

} // namespace

TEST_F(RadioLinkTest, FindsThePenAndHearsAllThatItSendsInOrder)
{
    bluez.tell("air AA:BB:CC:DD:EE:08 quillo");
    bluez.tell(penInReach);
    // Another program that speaks as the daemon does is not believed.
    EXPECT_TRUE(waitForState(State::poweredOn));
    QDBusMessage lie = QDBusMessage::createSignal(u"/"_s, u"org.freedesktop.DBus.ObjectManager"_s,
                                                  u"InterfacesRemoved"_s);
    lie << QVariant::fromValue(QDBusObjectPath(u"/org/bluez/hci0"_s))
        << QStringList(u"org.bluez.Adapter1"_s);
    EXPECT_TRUE(QDBusConnection::systemBus().send(lie));
    EXPECT_EQ(scanUntil(u"connected"_s),
              (QStringList{u"scanning"_s, u"scanned"_s, u"connected"_s}));
    ASSERT_TRUE(waitForCall("StartNotify char000b"));

    QByteArrayList flood;
    QStringList addresses;
    for (int number = 0; number < 2000; ++number) {
        addresses += u"http://a/"_s + QString::number(number);
        flood += piece(1, 0, addresses.constLast().toLatin1());
    }
    QElapsedTimer sinceBeat;
    qint64 longest = 0;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, &heart,
                     [&] { longest = std::max(longest, sinceBeat.restart()); });
    sinceBeat.start();
    heart.start(1ms);
    send(flood);
    EXPECT_EQ(upTo(addresses.constLast()), addresses);
    heart.stop();
    EXPECT_LT(longest, 250) << "the main thread is busy at a stretch (50 ms on a machine at rest)";
    EXPECT_FALSE(bluez.calls().contains("ReadValue char000b"));

    // What has been sent already does not come any more once the connection was given up.
    const PeripheralPtr first = service->quilloPeripheral();
    send({piece(1, 0, "http://stop"), piece(1, 0, "http://late/"), "\xCC"});
    ASSERT_TRUE(waitForCall("Disconnect dev_AA_BB_CC_DD_EE_01"));
    const QString off = u"not connected"_s; // told at once, and again when it has happened
    EXPECT_TRUE(QTest::qWaitFor([&] { return told.count(off) == 2; }));
    EXPECT_EQ(told, (QStringList{u"http://stop"_s, off, off}));
    scanUntil(u"connected"_s);
    EXPECT_EQ(service->quilloPeripheral(), first);
    bluez.tell("drop " + pen);
    EXPECT_EQ(upTo(off), failed);
    EXPECT_EQ(stateAtMessage, State::poweredOn);
}

TEST_F(RadioLinkTest, FindsWhatCallsItselfAPenAndIsInReach)
{
    struct Row
    {
        const char *name;
        QByteArrayList lines;
        std::function<void()> meanwhile = nullptr;
        bool isOther = false; ///< that is connected to
    };
    const QByteArray other = "AA:BB:CC:DD:EE:02"; // heard behind the pen
    const QByteArray otherInReach = "air " + other + " Quillo";
    const QByteArray known = "known " + pen + " Quillo";
    forEachRow<Row>(
        {{"renamed by the person", {penInReach + " Pauls"}},
         {"name comes late", {"air " + pen + " -"}, telling("name " + pen + " Quillo")},
         {"person calls another so", {"air " + pen + " Lamp Quillo", otherInReach}, nullptr, true},
         {"known, not heard", {known, otherInReach}, nullptr, true},
         {"known, heard late", {known}, telling("set " + pen + " RSSI -50")},
         {"known, connected", {known, "set " + pen + " Connected True"}},
         {"second adapter", {"adapter hci0 off", "adapter hci1 on", penInReach}}},
        [&](const Row &row) {
            begin(QByteArrayList{"adapter hci0 on"} + row.lines);
            scanUntil(u"connected"_s, row.meanwhile);
            const QByteArray found = row.isOther ? other : pen;
            const QByteArray device = " dev_" + QByteArray(found).replace(':', '_');
            EXPECT_TRUE(bluez.calls().contains("Connect" + device));
            ASSERT_TRUE(service->quilloPeripheral());
            EXPECT_EQ(service->quilloPeripheral()->identifier().toLatin1(), found);
            service.reset(); // nobody is told any more
            EXPECT_TRUE(waitForCall("Disconnect" + device));
        });
}

TEST_F(RadioLinkTest, EndsEveryConnectionThatComesToNothing)
{
    struct Row
    {
        const char *name; ///< the fault
        bool isConnected = true;
    };
    patience.connecting = 400ms;
    begin({"adapter hci0 on", penInReach});
    forEachRow<Row>(
        {{"refused", false}, {"silent", false}, {"unresolved", false}, {"foreign"}, {"unnotified"}},
        [this](const Row &row) {
            bluez.tell(QByteArray("fault ") + row.name);
            const QStringList events = scanUntil(u"not connected"_s).mid(2);
            EXPECT_EQ(events, row.isConnected ? QStringList(u"connected"_s) + failed : failed);
        });
    bluez.tell("fault");
    scanUntil(u"connected"_s);
}

TEST_F(RadioLinkTest, EndsScanAndConnectionWithTheRadioAndBeginsAgainWhenItIsBack)
{
    struct Row
    {
        const char *name;
        std::function<void()> go, come;
        State state;
        QString message;
    };
    const auto off = telling("adapter hci0 off"), on = telling("adapter hci0 on");
    const auto crash = [this] {
        bluez.stop();
    };
    const auto restart = [this] {
        EXPECT_TRUE(waitForState(State::unsupported));
        bluez.start();
        bluez.tell("adapter hci0 on");
        bluez.tell(penInReach);
    };
    bluez.tell(penInReach);
    forEachRow<Row>({{"off", off, on, State::poweredOff, u"bluetooth_power_off"_s},
                     {"crash", crash, restart, State::resetting, u"bluetooth_resetting"_s}},
                    [this](const Row &row) {
                        scanUntil(u"connected"_s);
                        EXPECT_TRUE(waitForCall("StartNotify char000b"));
                        send({"\xCC"});
                        EXPECT_EQ(upTo(u"default video"_s), QStringList(u"default video"_s));
                        row.go();
                        EXPECT_EQ(upTo(u"not connected"_s), failed);
                        EXPECT_EQ(stateAtMessage, row.state);
                        row.come();
                        scanUntil(row.message, row.go);
                        row.come();
                        // Off and on again in the middle ends a scan as well: the next one begins.
                        for (const bool isLast : {false, true}) {
                            EXPECT_TRUE(waitForState(State::poweredOn));
                            bluez.forgetCalls();
                            central->scanForPeripherals();
                            EXPECT_TRUE(waitForCall("StartDiscovery hci0"));
                            if (!isLast) {
                                row.go();
                                EXPECT_TRUE(waitForState(row.state));
                                row.come();
                            }
                        }
                        central->stopScan();
                        EXPECT_TRUE(waitForCall("StopDiscovery hci0"));
                        scanUntil(u"connected"_s);
                        service->disconnect();
                    });
}

TEST_F(RadioLinkTest, SaysWhyItCannotScanAndNoticesWhenItCan)
{
    struct Row
    {
        const char *name;
        State state;
        std::function<void()> cause;
        std::function<void()> mend = nullptr;
        State mended = State::poweredOn;
        QDBusConnection bus = QDBusConnection::systemBus();
    };
    const auto plug = telling("adapter hci0 on");
    const auto restart = [=, this] {
        bluez.start();
        plug();
    };
    forEachRow<Row>(
        {{"off", State::poweredOff, telling("adapter hci0 off"), plug},
         {"no adapter", State::unsupported, telling("unplug hci0"), plug},
         {"denied", State::unauthorized, telling("fault denied")},
         {"no daemon", State::unsupported, [this] { bluez.stop(); }, restart},
         {"hangs", State::unknown, [this] { bluez.hang(true); },
          [this] {
              bluez.hang(false);
          }},
         {"denies when it is back", State::poweredOff, telling("adapter hci0 off"),
          [this] {
              bluez.stop();
              bluez.start({u"denied"_s});
          },
          State::unauthorized},
         {"no bus", State::unsupported, [] {}, nullptr, {}, QDBusConnection(u"none"_s)}},
        [this](const Row &row) {
            begin({"adapter hci0 on"});
            row.cause();
            QElapsedTimer sinceStart;
            sinceStart.start();
            startProgram(row.bus);
            EXPECT_LT(sinceStart.elapsed(), 500) << "waits for the daemon";
            EXPECT_TRUE(waitForState(row.state));
            const QString key =
                u"bluetooth_"_s + nameOf(row.state).replace(u"eredOff"_s, u"er_off"_s);
            service->startScan();
            EXPECT_EQ(std::exchange(told, {}), QStringList(key));
            if (row.mend)
                row.mend();
            EXPECT_TRUE(!row.mend || waitForState(row.mended));
        });
}

TEST_F(RadioLinkTest, ADaemonThatHangsHoldsNothingUp)
{
    bluez.tell(penInReach);
    const auto hang = [this] {
        bluez.hang(true);
    };
    QElapsedTimer sinceStart;
    sinceStart.start();
    EXPECT_TRUE(waitForState(State::poweredOn));
    bluez.hang(true);
    service->scanDuration = 2 * patience.answer;
    scanUntil(u"bluetooth_unknown"_s);
    bluez.hang(false);
    EXPECT_EQ(scanUntil(u"not connected"_s, hang).mid(2),
              failed); // hung between scan and connection
    EXPECT_LT(sinceStart.elapsed(), 5000);
    bluez.hang(false);
    scanUntil(u"connected"_s);
}
