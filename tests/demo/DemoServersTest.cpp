#include "demo/DemoServers.h"
#include "demo/DemoCatalogue.h"
#include "demo/DemoConfiguration.h"
#include "platform/Bundle.h"

#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Reply = std::unique_ptr<QNetworkReply>;

} // namespace

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
    Reply medias(const QString &mids)
    {
        return get(m_servers.mediaAddress() + u"medias?mids="_s + mids);
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
    static QJsonArray array(const Reply &reply)
    {
        return QJsonDocument::fromJson(reply->readAll()).array();
    }

    DemoCatalogue m_catalogue{1, 24};
    DemoServers m_servers{m_catalogue};
    QNetworkAccessManager m_manager;
};

TEST_F(RunningServers, versionsAreOneObjectOfPaddedMids)
{
    const Reply reply = get(m_servers.mediaAddress() + u"versions"_s);
    const QJsonObject versions = QJsonDocument::fromJson(reply->readAll()).object();
    EXPECT_EQ(versions.size(), 24);
    EXPECT_EQ(versions.value(QString::number(first().mid).rightJustified(5, u'0')).toInt(),
              first().version);
}

TEST_F(RunningServers, titleDataFollowTheList)
{
    const DemoTitle &last = m_catalogue.titles().last();
    const Reply reply = medias(u"%22%1%22,%220%2%22,%229999%22"_s.arg(last.mid).arg(first().mid));
    const QJsonArray objects = array(reply);
    ASSERT_EQ(objects.size(), 2);
    const QJsonObject object = objects.at(1).toObject();
    EXPECT_EQ(objects.at(0).toObject().value(u"mid"_s).toInt(), last.mid);
    EXPECT_EQ(object.value(u"mid"_s).toInt(), first().mid);
    EXPECT_EQ(object.value(u"title"_s).toString(), first().name);
    EXPECT_EQ(object.value(u"mediaType"_s).toString(), typeWord(first().type));
    EXPECT_EQ(object.value(u"publisher"_s).toObject().value(u"publisherId"_s).toInt(),
              first().publisherId);
}

TEST_F(RunningServers, anEmptyListGivesAnEmptyArray)
{
    const Reply reply = medias(QString());
    EXPECT_EQ(reply->readAll(), "[]");
}

TEST_F(RunningServers, aListBeyondTheLibrarysLimitIsAnswered)
{
    const Reply reply = medias(u"%2212%22,"_s.repeated(20000));
    EXPECT_EQ(status(reply), 200);
    EXPECT_EQ(array(reply).size(), 24);
}

TEST_F(RunningServers, softwareVersionsAreBareNumbers)
{
    EXPECT_EQ(get(m_servers.mediaAddress() + u"firmware-version"_s)->readAll(), "14");
    EXPECT_EQ(get(m_servers.mediaAddress() + u"image-version"_s)->readAll(), "7");
}

TEST_F(RunningServers, sizeIsToldWithoutTheBody)
{
    const Reply reply =
        finished(m_manager.head(QNetworkRequest(QUrl(contentAddress(first(), first().version)))));
    EXPECT_EQ(reply->rawHeader("Content-Length").toLongLong(), first().contentBytes);
    EXPECT_EQ(reply->readAll(), QByteArray());
}

TEST_F(RunningServers, contentIsTheCataloguesByteForByte)
{
    const DemoContent content = m_catalogue.content(first(), first().version);
    const Reply reply = get(contentAddress(first(), first().version));
    EXPECT_EQ(reply->readAll(), content.bytes(0, content.size()));
    EXPECT_EQ(reply->rawHeader("ETag"), content.entityTag());
}

TEST_F(RunningServers, aRangeIsTheRestOfTheFile)
{
    const DemoContent content = m_catalogue.content(first(), first().version);
    const Reply reply = get(contentAddress(first(), first().version), "bytes=100001-");
    EXPECT_EQ(status(reply), 206);
    EXPECT_EQ(reply->rawHeader("Content-Range"), "bytes 100001-"
                                                     + QByteArray::number(content.size() - 1) + '/'
                                                     + QByteArray::number(content.size()));
    EXPECT_EQ(reply->readAll(), content.bytes(100001, content.size()));
}

TEST_F(RunningServers, coverIsAPicture)
{
    const Reply reply = get(m_servers.fileAddress()
                            + u"files/%1/%2/%2_%3.png"_s.arg(first().publisherId)
                                  .arg(first().mid)
                                  .arg(first().areaCode));
    const QByteArray cover = reply->readAll();
    EXPECT_EQ(cover, m_catalogue.cover(first()));
    EXPECT_EQ(QImage::fromData(cover, "PNG").size(), QSize(600, 800));
}

TEST_F(RunningServers, onlyTheRightAddressGivesAFile)
{
    DemoTitle otherPublisher = first();
    otherPublisher.publisherId += 1;
    const QStringList addresses = {
        contentAddress(first(), first().version - 1),
        contentAddress(otherPublisher, first().version),
        m_servers.fileAddress() + u"software/firmwareV13.bin"_s,
        m_servers.mediaAddress() + u"files/1/1/1.png"_s,
    };
    for (const QString &address : addresses)
        EXPECT_EQ(status(get(address)), 404) << address.toStdString();
}

TEST_F(RunningServers, usageLogIsCollected)
{
    QNetworkRequest request(QUrl(m_servers.logAddress() + u"log"_s));
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    const Reply reply = finished(m_manager.post(request, QByteArray("[\"12\"]")));
    EXPECT_EQ(status(reply), 200);
    EXPECT_EQ(m_servers.receivedLogs(), QList<QByteArray>{"[\"12\"]"});
}

TEST_F(RunningServers, awayRefusesAndComesBackWhereItWas)
{
    const QString address = m_servers.mediaAddress() + u"image-version"_s;
    m_servers.stop();
    EXPECT_EQ(get(address)->error(), QNetworkReply::ConnectionRefusedError);
    ASSERT_TRUE(m_servers.start());
    EXPECT_EQ(m_servers.mediaAddress() + u"image-version"_s, address);
    EXPECT_EQ(get(address)->readAll(), "7");
}

TEST_F(RunningServers, goingAwayDropsAWholeSlowTransferAtOnce)
{
    m_servers.setBytesPerSecond(20000);
    QNetworkReply *reply =
        m_manager.get(QNetworkRequest(QUrl(contentAddress(first(), first().version))));
    ASSERT_TRUE(QTest::qWaitFor([reply] { return reply->bytesAvailable() > 0; }));
    QElapsedTimer timer;
    timer.start();
    m_servers.stop();
    const Reply ended = finished(reply);
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_EQ(ended->error(), QNetworkReply::RemoteHostClosedError);
    EXPECT_LT(ended->bytesAvailable(), first().contentBytes);
}

TEST_F(RunningServers, slowIsSlowAndTheLimitCanBeLifted)
{
    m_servers.setBytesPerSecond(50000);
    QNetworkReply *reply =
        m_manager.get(QNetworkRequest(QUrl(contentAddress(first(), first().version))));
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(QTest::qWaitFor([reply] { return reply->bytesAvailable() >= 25000; }));
    EXPECT_GT(timer.elapsed(), 300);
    m_servers.setBytesPerSecond(0);
    EXPECT_EQ(finished(reply)->readAll().size(), first().contentBytes);
}

TEST_F(RunningServers, configurationLeadsToThem)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"Url.plist"_s);
    ASSERT_TRUE(writeConfiguration(m_servers, path));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const auto values = Bundle::parsePropertyList(file.readAll());
    ASSERT_TRUE(values);
    EXPECT_EQ(values->size(), 9);
    EXPECT_EQ(get(values->value(u"MEDIA_SERVER_IMAGE_ISO_VERSION_URL"_s).toString())->readAll(),
              "7");
    EXPECT_EQ(values->value(u"STREAMING_SERVER_FILES_URL"_s).toString(),
              m_servers.fileAddress() + u"files/"_s);
}
