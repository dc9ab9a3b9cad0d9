#include "tests/support/UpdateRig.h"

#include "library/ElementService.h"
#include "library/LibraryLists.h"
#include "pen/URLFactory.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "tests/support/Traces.h"

#include <QBuffer>
#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QList<std::pair<QString, QByteArray>> &addresses()
{
    static const QList<std::pair<QString, QByteArray>> all = {
        {URLFactory::mediaServerVersionsKey, "/versions"},
        {URLFactory::mediaServerMediasKey, "/medias"},
        {URLFactory::mediaServerImageIsoVersionKey, "/imageversion"},
        {URLFactory::mediaServerFirmwareVersionKey, "/firmwareversion"},
        {URLFactory::streamingServerFilesKey, "/files/"},
        {URLFactory::streamingServerSoftwareKey, "/software/"},
        {URLFactory::logPostKey, "/log"},
    };
    return all;
}

QByteArray array(const QList<QByteArray> &objects)
{
    return '[' + objects.join(',') + ']';
}

} // namespace

UpdateRig::UpdateRig()
    : volumes(pen.volumes())
{
    FileManager::setVolumeSource(&volumes);
    removeLog();
    configure();
    pen.write(u"configure/settings.ini"_s, "firmwareVersion=1\nImageVersion=1\n");
    server.serve("/imageversion", "1");
    server.serve("/firmwareversion", "1");
    server.serve("/log", "");
    serveCatalogue("{}", {});
    service = std::make_unique<UpdateService>(*this);
    QObject::connect(service.get(), &UpdateService::runEnded, service.get(),
                     [this] { ++m_endedRuns; });
}

UpdateRig::~UpdateRig()
{
    service.reset();
    endSharedSession();
    clearLibraryLists();
    FileManager::setVolumeSource(nullptr);
}

void UpdateRig::configure(const QString &otherKey, const QString &instead)
{
    QList<std::pair<QString, QString>> texts;
    for (const auto &[key, path] : addresses()) {
        if (key != otherKey || !instead.isNull())
            texts.append({key, key == otherKey ? instead : server.address(path)});
    }
    configureWith(propertyList(texts));
}

QByteArray UpdateRig::title(int mid, const QByteArray &name, const QByteArray &areaCode)
{
    return R"({"title":")" + name + R"(","author":"Ada","isbn":"978","mid":)"
           + QByteArray::number(mid) + R"(,"bookAreaCode":")" + areaCode
           + R"(","volume":1,"mediaType":"Buch","publisher":{"publisherId":7,"name":"Verlag"}})";
}

void UpdateRig::serveCatalogue(const QByteArray &versions, const QList<QByteArray> &allTitles,
                               const QList<QByteArray> &requestedTitles)
{
    server.serve("/versions", versions);
    // The first question is for all titles, the second for the requested ones.
    server.serveInTurn("/medias", {{.body = array(allTitles)}, {.body = array(requestedTitles)}});
}

QByteArray UpdateRig::contentPath(int mid, int version)
{
    const QByteArray number = QByteArray::number(mid);
    return "/files/7/" + number + '/' + QByteArray::number(version) + '/'
           + number.rightJustified(5, '0') + "_en.qnk";
}

void UpdateRig::serveContent(int mid, int version, const QByteArray &content)
{
    server.serve(contentPath(mid, version), content);
}

void UpdateRig::putTitle(const QString &id, int version, bool withContent, bool withCover)
{
    pen.write(u"book/"_s + id + u".txt"_s,
              "Name: Old\nPublisher: P\nAuthor: A\nBook Area Code: en\nISBN: 1\nType: Buch\n"
              "Book Version: "
                  + QByteArray::number(version) + '\n');
    if (withContent)
        pen.write(u"book/"_s + id + u".qnk"_s, "old content");
    if (withCover)
        pen.write(u"book/"_s + id + u".png"_s, pngPicture());
}

bool UpdateRig::run(int timeout)
{
    service->updateAll();
    return waitForEnd(timeout);
}

bool UpdateRig::waitForEnd(int timeout)
{
    return QTest::qWaitFor([this] { return m_endedRuns > 0 && !service->isRunning(); }, timeout);
}

void UpdateRig::loadData()
{
    ++loads;
    const PenLibrary library = ElementService::getQuilloFilesInfoFromPen();
    bookList() = library.books;
    gameList() = library.games;
}

QByteArray pngPicture(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}
