#include "demo/DemoServers.h"
#include "demo/DemoCatalogue.h"
#include "tests/platform/URLSessionFixture.h"

using namespace Qt::StringLiterals;

namespace {

class RunningServers : public URLSessionFixture
{
protected:
    void SetUp() override { ASSERT_TRUE(m_servers.start()); }

    [[nodiscard]] DataTaskResult get(const QString &address, const QByteArray &range = "bytes=0-")
    {
        return fetch({QUrl(address), "GET", {{"Range", range}}, {}});
    }
    [[nodiscard]] QString contentAddress(const DemoTitle &title, int version) const
    {
        const QString path = u"files/%1/%2/%3/%4.qnk"_s.arg(title.publisherId);
        return m_servers.fileAddress() + path.arg(title.mid).arg(version).arg(title.id());
    }

    DemoCatalogue m_catalogue{1, 24};
    DemoServers m_servers{m_catalogue};
    const DemoTitle m_first = m_catalogue.titles().first();
};

} // namespace

TEST_F(RunningServers, answerListsOfEveryLengthAndOnlyTheRightAddressWithAFileOrItsRest)
{
    const QString medias = m_servers.mediaAddress() + u"medias?mids="_s;
    EXPECT_EQ(get(medias).data, "[]");
    EXPECT_EQ(get(medias + u"%2212%22,"_s.repeated(20000)).data.count("\"mid\""), 24);

    const int version = m_first.version;
    const qint64 size = m_first.contentBytes;
    const DataTaskResult rest = get(contentAddress(m_first, version), "bytes=100001-");
    EXPECT_EQ(rest.response->statusCode, 206);
    EXPECT_EQ(rest.response->header("Content-Range"),
              "bytes 100001-" + QByteArray::number(size - 1) + '/' + QByteArray::number(size));
    EXPECT_EQ(rest.data, m_catalogue.content(m_first, version).bytes(0, size).mid(100001));
    const DataTaskResult film = get(m_servers.fileAddress() + u"video.mp4"_s, "bytes=4-7");
    EXPECT_EQ(film.response->header("Content-Type") + ' ' + film.data, "video/mp4 ftyp");

    DemoTitle otherPublisher = m_first;
    otherPublisher.publisherId += 1;
    for (const QString &address :
         {contentAddress(m_first, version - 1), contentAddress(otherPublisher, version),
          m_servers.fileAddress() + u"software/firmwareV13.bin"_s,
          m_servers.mediaAddress() + u"files/1/1/1.png"_s})
        EXPECT_EQ(get(address).response->statusCode, 404) << address.toStdString();
}

TEST_F(RunningServers, goingAwayDropASlowTransferAtOnceUntilTheyAreBack)
{
    const QString address = m_servers.mediaAddress() + u"image-version"_s;
    const QUrl content(contentAddress(m_first, m_first.version));
    m_servers.setBytesPerSecond(20000);
    const Task task = session->downloadTask({content, target});
    task->resume();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !recorder.of(task).progress.isEmpty(); }));
    m_servers.stop();
    EXPECT_TRUE(run(task).isResumable());
    EXPECT_FALSE(get(address).response);
    ASSERT_TRUE(m_servers.start());
    EXPECT_EQ(get(address).data, "7");
    m_servers.setBytesPerSecond(0);
    EXPECT_EQ(download(content).content.size(), m_first.contentBytes);
}
