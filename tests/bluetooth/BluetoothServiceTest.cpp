#include "tests/bluetooth/BluetoothFixture.h"
#include "tests/support/Rows.h"

#include "demo/DemoRadio.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

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

    /// A scan was begun and ended, and then came these.
    void expectScan(const QStringList &then)
    {
        EXPECT_EQ(heard.upTo(then.last()), QStringList({u"scanning"_s, u"scanned"_s}) + then);
    }
    void connectToPen()
    {
        service.startScan();
        expectScan({u"connected"_s});
        ASSERT_TRUE(QTest::qWaitFor([this] { return pens.send(nothing); }));
        settle();
    }
    static void settle()
    {
        for (int i = 0; i < 10; ++i)
            QCoreApplication::processEvents();
    }

    const QByteArray nothing = "?"; // a message that is ignored
    const QByteArray gaveUp = DemoRadio::gaveUpMessage, video = DemoRadio::defaultVideoMessage;
    ToldByRadio heard;
    DemoRadio pens;
    std::unique_ptr<SimulatedCentral> radio = pens.make();
    BluetoothService service{*radio};
};

TEST_F(BluetoothServiceTest, FindsThePenByItsExactNameAndSubscribes)
{
    for (const QString &name : {u"quillo"_s, u"Quillo 2"_s, u""_s}) {
        const auto other = radio->addPeripheral({name, name, {}});
        radio->setInReach(other, true);
        radio->cancelPeripheralConnection(other); // there is none: nobody answers
    }
    service.startScan();
    service.startScan(); // while one runs
    expectScan({u"connected"_s});
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
    expectScan({u"bluetooth_no_quillo_found"_s});
    service.startScan();
    pens.setPoweredOn(false);
    expectScan({u"bluetooth_power_off"_s});
    EXPECT_EQ(logEntries().count(u"Manager did update state to poweredOff"_s), 1);
}

TEST_F(BluetoothServiceTest, LetsChooseAmongSeveral)
{
    pens.setInReach(1, true);
    service.startScan();
    const QString both = u"Quillo C0:FF:EE:00:00:01|Quillo C0:FF:EE:00:00:02"_s;
    expectScan({both});
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

    // Given up and at once chosen again, it is connected again.
    service.disconnect();
    heard.selection(0);
    EXPECT_EQ(heard.upTo(u"connected"_s), QStringList({u"not connected"_s, u"connected"_s}));
    settle();
    EXPECT_TRUE(heard.told.isEmpty() && service.connected() && pens.isConnected());

    // Chosen from the list of a scan that a disconnection has ended, a pen is known, but not found.
    service.disconnect();
    settle();
    heard.selection(1);
    EXPECT_EQ(heard.upTo(u"connected"_s).last(), u"connected"_s);
    pens.setInReach(0, false);
    service.startScan();
    expectScan({u"connected"_s});
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
    // As soon as it has been found it is out of reach.
    pens.setInReach(0, true);
    service.startScan();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !service.foundQuillos().isEmpty(); }));
    pens.setInReach(0, false);
    expectScan(lost);
    EXPECT_TRUE(service.foundQuillos().isEmpty());
    EXPECT_FALSE(service.quilloPeripheral());
    EXPECT_EQ(logEntries().last(), u"**** CONNECTION TO QUILLO FAILED!!!"_s);
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

TEST_F(BluetoothServiceTest, PutsAddressesTogether)
{
    struct Row
    {
        const char *name;
        QList<QByteArray> messages;
        QStringList told = {};
    };
    const QByteArray longest = QByteArray("http://a/").leftJustified(8192, 'b');
    const QString next = u"http://next"_s;
    connectToPen();
    forEachRow<Row>(
        {{"blanks", {piece(2, 0, "//a/b c"), piece(2, 1, " ")}, {u"a/b%20c%20"_s}},
         {"only the first slashes", {piece(1, 0, "////a/b")}, {u"//a/b"_s}},
         {"colon written out", {piece(1, 0, "http%3A//a")}, {u"http%3A//a"_s}},
         {"quote", {piece(1, 0, "http://a/\"><script>")}},
         {"line feed", {piece(1, 0, "http://a/\n")}},
         {"nothing", {piece(1, 0, "")}},
         {"nothing but slashes", {piece(1, 0, "//")}},
         {"not ASCII", {piece(2, 0, "http://a"), piece(2, 1, "b\xC3\xA4")}, {u"http://a"_s}},
         {"last of many", {piece(128, 127, "http://a")}, {u"http://a"_s}},
         {"index too high", {piece(2, 2, "http://a"), gaveUp}},
         {"too short", {"", "\xAA\x01", piece(0, 0, "a")}},
         {"unknown", {QByteArray("\xAB\1\0a", 4), nothing}},
         {"interrupted",
          {piece(2, 0, "a"), video, piece(2, 1, "b")},
          {u"default video"_s, u"ab"_s}},
         {"longest", {piece(2, 0, longest), piece(2, 1, "")}, {QString::fromLatin1(longest)}},
         {"too long", {piece(3, 0, longest), piece(3, 1, "c"), piece(3, 2, "")}},
         {"too long and given up", {piece(2, 0, longest + "c"), gaveUp + "\xAA"}}},
        [&](const Row &row) {
            for (const QByteArray &message : row.messages + QList{piece(1, 0, next.toLatin1())})
                EXPECT_TRUE(pens.send(message));
            EXPECT_EQ(heard.upTo(next), row.told + QStringList{next});
        });
}

TEST_F(BluetoothServiceTest, WritesDownWhatThePenSends)
{
    connectToPen();
    const QStringList log = loggedBy([this] {
        for (const QByteArray &message : {piece(2, 0, "a"), gaveUp, gaveUp, video,
                                          piece(1, 0, "//http://["), QByteArray("\xAA")})
            EXPECT_TRUE(pens.send(message));
        settle();
    });
    EXPECT_EQ(
        log,
        QStringList({u"Header: 170"_s, u"values received: a"_s, u"url: a"_s, u"Header: 187"_s,
                     u"Cleared urlString after failed atempt of sending an url per "
                     "bluetooth!  a"_s,
                     u"Header: 187"_s, u"Header: 204"_s, u"Got header 204"_s, u"Header: 170"_s,
                     u"values received: //http://["_s, u"url: //http://["_s,
                     u"Could not create URL from received string: http://["_s, u"Header: 170"_s}));
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
