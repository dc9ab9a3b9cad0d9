#include "tests/bluetooth/BluetoothFixture.h"
#include "tests/support/Rows.h"

#include "demo/DemoRadio.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using State = CentralManager::State;

/// The link to the pens of a radio that does what it is told.
class BluetoothServiceTest : public testing::Test
{
protected:
    BluetoothServiceTest()
    {
        removeLog();
        service.delegate = &heard;
        EXPECT_EQ(std::exchange(service.scanDuration, 20ms), 3s);
        radio->connectPatience = 0ms;
    }

    void connectToPen()
    {
        service.startScan();
        ASSERT_EQ(heard.upTo(u"connected"_s),
                  QStringList({u"scanning"_s, u"scanned"_s, u"connected"_s}));
        ASSERT_TRUE(QTest::qWaitFor([this] { return pens.send(nothing); }));
        settle();
    }
    /// The log without what comes before the pen's first message.
    [[nodiscard]] QStringList logAfter(const QList<QByteArray> &messages)
    {
        return loggedBy([&] {
            for (const QByteArray &message : messages)
                EXPECT_TRUE(pens.send(message));
            settle();
        });
    }
    static void settle()
    {
        for (int i = 0; i < 10; ++i)
            QCoreApplication::processEvents();
    }

    const QByteArray nothing = "?"; // a message that is ignored
    ToldByRadio heard;
    DemoRadio pens;
    std::unique_ptr<SimulatedCentral> radio = pens.make();
    BluetoothService service{*radio};
};

TEST_F(BluetoothServiceTest, SaysWhyItCannotScan)
{
    const struct
    {
        State state;
        QString key;
    } rows[] = {{State::unknown, u"bluetooth_unknown"_s},
                {State::resetting, u"bluetooth_resetting"_s},
                {State::unsupported, u"bluetooth_unsupported"_s},
                {State::unauthorized, u"bluetooth_unauthorized"_s},
                {State::poweredOff, u"bluetooth_power_off"_s}};
    for (const auto &[state, key] : rows) {
        radio->setState(state);
        service.startScan();
        EXPECT_EQ(heard.upTo(key), QStringList{key});
        EXPECT_FALSE(radio->isScanning());
    }
    settle();
    EXPECT_TRUE(logEntries().contains(u"Manager did update state to poweredOff"_s));
}

TEST_F(BluetoothServiceTest, FindsThePenByItsExactNameAndSubscribes)
{
    for (const QString &name : {u"quillo"_s, u"Quillo 2"_s, u""_s})
        radio->setInReach(radio->addPeripheral({name, name, {}}), true);
    service.startScan();
    service.startScan(); // while one runs
    EXPECT_EQ(heard.upTo(u"connected"_s),
              QStringList({u"scanning"_s, u"scanned"_s, u"connected"_s}));
    EXPECT_EQ(service.foundQuillos().size(), 1);
    EXPECT_FALSE(radio->isScanning());
    EXPECT_TRUE(QTest::qWaitFor([this] { return pens.send(nothing); }));
    EXPECT_EQ(logEntries(),
              QStringList({u"Will try to connect to found Quillos..."_s,
                           u"One Quillo found... Adding now"_s,
                           u"**** SUCCESSFULLY CONNECTED TO QUILLO!!!"_s,
                           u"Discovered service 0000fff0-0000-1000-8000-00805f9b34fb"_s,
                           u"DID DISCOVER CHARACTERISTICS"_s}));
}

TEST_F(BluetoothServiceTest, SaysWhenThereIsNoPenOrTheRadioWentOff)
{
    pens.setInReach(0, false);
    service.startScan();
    EXPECT_EQ(heard.upTo(u"bluetooth_no_quillo_found"_s),
              QStringList({u"scanning"_s, u"scanned"_s, u"bluetooth_no_quillo_found"_s}));
    service.startScan();
    pens.setPoweredOn(false);
    EXPECT_EQ(heard.upTo(u"bluetooth_power_off"_s),
              QStringList({u"scanning"_s, u"scanned"_s, u"bluetooth_power_off"_s}));
}

TEST_F(BluetoothServiceTest, LetsChooseAmongSeveral)
{
    pens.setInReach(1, true);
    service.startScan();
    const QString both = u"Quillo C0:FF:EE:00:00:01|Quillo C0:FF:EE:00:00:02"_s;
    EXPECT_EQ(heard.upTo(both), QStringList({u"scanning"_s, u"scanned"_s, both}));
    for (const int nobody : {-1, 2})
        heard.selection(nobody);
    EXPECT_FALSE(service.quilloPeripheral());
    heard.selection(1);
    EXPECT_EQ(heard.upTo(u"connected"_s), QStringList{u"connected"_s});
    EXPECT_EQ(service.quilloPeripheral()->identifier(), u"C0:FF:EE:00:00:02"_s);

    // The other one takes its place; what the first still has to say counts no more.
    heard.selection(0);
    EXPECT_EQ(heard.upTo(u"connected"_s), QStringList{u"connected"_s});
    settle();
    EXPECT_TRUE(heard.told.isEmpty());
    EXPECT_EQ(service.quilloPeripheral()->identifier(), u"C0:FF:EE:00:00:01"_s);

    // Chosen from the list of a scan that a disconnection has ended, a pen is known, but not found.
    service.disconnect();
    settle();
    heard.selection(1);
    EXPECT_EQ(heard.upTo(u"connected"_s).last(), u"connected"_s);
    pens.setInReach(0, false);
    service.startScan();
    EXPECT_EQ(heard.upTo(u"connected"_s),
              QStringList({u"scanning"_s, u"scanned"_s, u"connected"_s}));
}

TEST_F(BluetoothServiceTest, KeepsThePensOfEarlierScans)
{
    connectToPen();
    pens.setInReach(1, true);
    service.startScan();
    EXPECT_EQ(heard.upTo(u"Quillo C0:FF:EE:00:00:01|Quillo C0:FF:EE:00:00:02"_s).size(), 3);
}

TEST_F(BluetoothServiceTest, EndsWithThePenTheRadioOrOnRequest)
{
    const QStringList lost = {u"bluetooth_connection_failed"_s, u"not connected"_s};
    connectToPen();
    pens.setInReach(0, false);
    EXPECT_EQ(heard.upTo(u"not connected"_s), lost);
    EXPECT_TRUE(service.foundQuillos().isEmpty());
    EXPECT_FALSE(service.quilloPeripheral());
    EXPECT_EQ(logEntries().last(2), QStringList({u"**** DISCONNECTED FROM QUILLO"_s,
                                                 u"****** Disconnection details: out of reach"_s}));
    pens.setInReach(0, true);
    connectToPen();
    pens.setPoweredOn(false);
    EXPECT_EQ(heard.upTo(u"not connected"_s), lost);
    pens.setPoweredOn(true);
    connectToPen();
    EXPECT_EQ(loggedBy([this] {
                  service.disconnect();
                  EXPECT_FALSE(service.connected());
                  settle();
                  service.disconnect();
              }),
              QStringList({u"**** DISCONNECTED FROM QUILLO"_s,
                           u"No Quillo connected. Wont disconnect BT connection."_s}));
    EXPECT_EQ(heard.told, QStringList({u"not connected"_s, u"not connected"_s}));
    EXPECT_FALSE(pens.isConnected());
}

TEST_F(BluetoothServiceTest, SaysThatAPenCannotBeReached)
{
    service.startScan();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !service.foundQuillos().isEmpty(); }));
    pens.setInReach(0, false);
    EXPECT_EQ(heard.upTo(u"not connected"_s),
              QStringList({u"scanning"_s, u"scanned"_s, u"bluetooth_connection_failed"_s,
                           u"not connected"_s}));
    EXPECT_TRUE(service.foundQuillos().isEmpty());
    EXPECT_FALSE(service.quilloPeripheral());
    EXPECT_EQ(logEntries().last(), u"**** CONNECTION TO QUILLO FAILED!!!"_s);
}

TEST_F(BluetoothServiceTest, PutsAddressesTogether)
{
    connectToPen();
    const QByteArray address = "//http://pen.example/a video.mp4";
    EXPECT_EQ(logAfter(DemoRadio::messages(address, 2)),
              QStringList({u"Header: 170"_s, u"values received: //http://pen.exa"_s,
                           u"url: //http://pen.exa"_s, u"Header: 170"_s,
                           u"values received: mple/a video.mp4"_s,
                           u"url: //http://pen.example/a video.mp4"_s}));
    EXPECT_EQ(heard.told, QStringList{u"http://pen.example/a%20video.mp4"_s});

    heard.told.clear();
    const QByteArray half = DemoRadio::messages(address, 2).first();
    EXPECT_EQ(logAfter({half, DemoRadio::gaveUpMessage, DemoRadio::gaveUpMessage}).sliced(3),
              QStringList({u"Header: 187"_s,
                           u"Cleared urlString after failed atempt of sending an url per "
                           "bluetooth!  //http://pen.exa"_s,
                           u"Header: 187"_s}));
    // In between, the default video is asked for; the pieces stay.
    const QList<QByteArray> pieces = DemoRadio::messages("http://a", 2);
    EXPECT_TRUE(logAfter({pieces.at(0), DemoRadio::defaultVideoMessage, pieces.at(1)})
                    .contains(u"Got header 204"_s));
    EXPECT_EQ(heard.told, QStringList({u"default video"_s, u"http://a"_s}));

    // One too long to be kept is given up like any other.
    heard.told.clear();
    const QByteArray tooLong = DemoRadio::messages(QByteArray(20'000, 'a'), 2).first();
    EXPECT_EQ(logAfter({tooLong, DemoRadio::gaveUpMessage}).last(), u"Header: 187"_s);
    EXPECT_EQ(logAfter(DemoRadio::messages("http://b", 1)).size(), 3);
    EXPECT_EQ(std::exchange(heard.told, {}), QStringList{u"http://b"_s});

    EXPECT_EQ(logAfter(DemoRadio::messages("http://[", 1)).last(),
              u"Could not create URL from received string: http://["_s);
    EXPECT_EQ(logAfter({QByteArray(1, '\0'), QByteArray("\xAA\x01")}),
              QStringList({u"Header: 0"_s, u"Header: 170"_s}));
    EXPECT_TRUE(heard.told.isEmpty());
}

TEST_F(BluetoothServiceTest, SaysNothingAfterItsEnd)
{
    auto second = std::make_unique<BluetoothService>(*radio);
    second->delegate = &heard;
    second->scanDuration = 20ms;
    second->startScan();
    ASSERT_TRUE(QTest::qWaitFor([this] { return pens.send(nothing); }));
    pens.setInReach(1, true);
    second->startScan();
    ASSERT_TRUE(QTest::qWaitFor([this] { return heard.selection != nullptr; }));
    second->startScan();
    heard.told.clear();
    second.reset();
    heard.selection(1);
    settle();
    EXPECT_FALSE(pens.isConnected());
    EXPECT_FALSE(radio->isScanning());
    EXPECT_TRUE(heard.told.isEmpty());
}

} // namespace
