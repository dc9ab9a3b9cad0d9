#include "demo/DemoServers.h"
#include "demo/DemoCatalogue.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Reply = std::unique_ptr<QNetworkReply>;

class RunningServers : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_servers.start()); }

    Reply finished(QNetworkReply *reply)
    {
        EXPECT_TRUE(QTest::qWaitFor([reply] { return reply->isFinished(); }, 20000));
        return Reply(reply);
    }
    Reply get(const QString &address, const QByteArray &range = {})
    {
        QNetworkRequest request((QUrl(address)));
        if (!range.isEmpty())
            request.setRawHeader("Range", range);
        return finished(m_manager.get(request));
    }
    [[nodiscard]] QString contentAddress(const DemoTitle &title, int version) const
    {
        return m_servers.fileAddress()
               + u"files/%1/%2/%3/%4.qnk"_s.arg(title.publisherId)
                     .arg(title.mid)
                     .arg(version)
                     .arg(title.id());
    }
    [[nodiscard]] const DemoTitle &first() const { return m_catalogue.titles().first(); }

    static int status(const Reply &reply)
    {
        return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    }
    DemoCatalogue m_catalogue{1, 24};
    DemoServers m_servers{m_catalogue};
    QNetworkAccessManager m_manager;
};

} // namespace

TEST_F(RunningServers, listsOfEveryLengthAreAnswered)
{
    const QString medias = m_servers.mediaAddress() + u"medias?mids="_s;
    EXPECT_EQ(get(medias)->readAll(), "[]");
    EXPECT_EQ(get(medias + u"%2212%22,"_s.repeated(20000))->readAll().count("\"mid\""), 24);
}

TEST_F(RunningServers, onlyTheRightAddressGivesAFileOrTheRestOfIt)
{
    const int version = first().version;
    const qint64 size = first().contentBytes;
    const Reply rest = get(contentAddress(first(), version), "bytes=100001-");
    EXPECT_EQ(status(rest), 206);
    EXPECT_EQ(QString::fromLatin1(rest->rawHeader("Content-Range")),
              u"bytes 100001-%1/%2"_s.arg(size - 1).arg(size));
    EXPECT_EQ(rest->readAll(), m_catalogue.content(first(), version).bytes(0, size).mid(100001));
    const Reply film = get(m_servers.fileAddress() + u"video.mp4"_s, "bytes=4-7");
    EXPECT_EQ(film->rawHeader("Content-Type"), "video/mp4");
    EXPECT_EQ(film->readAll(), "ftyp");

    DemoTitle otherPublisher = first();
    otherPublisher.publisherId += 1;
    for (const QString &address :
         {contentAddress(first(), version - 1), contentAddress(otherPublisher, version),
          m_servers.fileAddress() + u"software/firmwareV13.bin"_s,
          m_servers.mediaAddress() + u"files/1/1/1.png"_s})
        EXPECT_EQ(status(get(address)), 404) << address.toStdString();
}

TEST_F(RunningServers, goingAwayDropsASlowTransferAtOnceUntilTheyAreBack)
{
    const QString address = m_servers.mediaAddress() + u"image-version"_s;
    m_servers.setBytesPerSecond(20000);
    QNetworkReply *reply =
        m_manager.get(QNetworkRequest(QUrl(contentAddress(first(), first().version))));
    ASSERT_TRUE(QTest::qWaitFor([reply] { return reply->bytesAvailable() > 0; }));
    m_servers.stop();
    const Reply ended = finished(reply);
    EXPECT_EQ(ended->error(), QNetworkReply::RemoteHostClosedError);
    EXPECT_EQ(get(address)->error(), QNetworkReply::ConnectionRefusedError);
    ASSERT_TRUE(m_servers.start());
    EXPECT_EQ(get(address)->readAll(), "7");
    m_servers.setBytesPerSecond(0);
    EXPECT_EQ(get(contentAddress(first(), first().version))->readAll().size(),
              first().contentBytes);
}
