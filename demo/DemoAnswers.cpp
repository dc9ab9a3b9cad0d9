#include "demo/DemoAnswers.h"

#include "demo/DemoCatalogue.h"

#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

DemoAnswer notFound()
{
    return {.status = 404, .contentType = "text/plain", .body = "There is no such file.\n"};
}

DemoAnswer text(const QByteArray &body)
{
    return {.contentType = "text/plain", .body = body};
}

DemoAnswer json(const QJsonDocument &document)
{
    return {.contentType = "application/json", .body = document.toJson(QJsonDocument::Compact)};
}

DemoAnswer content(const DemoContent &content)
{
    return {.content = content, .entityTag = content.entityTag()};
}

DemoAnswer shippedFile(const QByteArray &contentType, const QByteArray &bytes)
{
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
    return {.contentType = contentType, .body = bytes, .entityTag = '"' + hash + '"'};
}

DemoAnswer video()
{
    QFile film(u":/demo/video.mp4"_s);
    return film.open(QIODevice::ReadOnly) ? shippedFile("video/mp4", film.readAll()) : notFound();
}

DemoAnswer versions(const DemoCatalogue &catalogue)
{
    QJsonObject versions;
    for (const DemoTitle &title : catalogue.titles())
        versions.insert(paddedMid(QString::number(title.mid)), title.version);
    return json(QJsonDocument(versions));
}

QJsonObject titleObject(const DemoTitle &title)
{
    const QJsonObject publisher = {{u"publisherId"_s, title.publisherId},
                                   {u"name"_s, title.publisher}};
    return {{u"mid"_s, title.mid},
            {u"title"_s, title.name},
            {u"author"_s, title.author},
            {u"isbn"_s, title.isbn},
            {u"bookAreaCode"_s, title.areaCode},
            {u"volume"_s, title.volume},
            {u"mediaType"_s, typeWord(title.type)},
            {u"publisher"_s, publisher}};
}

/// The titles of a list such as "12","345"; unknown ones are left out.
QList<DemoTitle> listedTitles(const DemoCatalogue &catalogue, const QString &mids)
{
    QList<DemoTitle> titles;
    for (QString mid : mids.split(u',', Qt::SkipEmptyParts)) {
        if (const auto title = catalogue.title(mid.remove(u'"').toInt()))
            titles += *title;
    }
    return titles;
}

DemoAnswer medias(const DemoCatalogue &catalogue, const std::optional<QString> &mids)
{
    QJsonArray objects;
    for (const DemoTitle &title : mids ? listedTitles(catalogue, *mids) : catalogue.titles())
        objects += titleObject(title);
    return json(QJsonDocument(objects));
}

DemoAnswer shop()
{
    return {.contentType = "text/html; charset=utf-8",
            .body = "<!doctype html><title>Quillo</title><body style='font-family:sans-serif;"
                    "margin:4em;color:#05667a'><h1>Quillo</h1><p>Hier st\xc3\xbcnde der Laden."
                    "</p><p>This is where the shop would be.</p>"
                    "<p><a href='/shop/pens'>Stifte \xc2\xb7 Pens</a></p><p>"
                    "<a href='https://www.quillo.example/'>www.quillo.example</a></p></body>"};
}

/// "3/00042_en.qnk" or "42_en.png", as it stands behind publisher and MID.
DemoAnswer titleFile(const DemoCatalogue &catalogue, const DemoTitle &title, const QString &file)
{
    QString shortId = title.id();
    while (shortId.startsWith(u'0'))
        shortId.remove(0, 1);
    if (file == shortId + u".png"_s)
        return shippedFile("image/png", catalogue.cover(title));
    if (file == u"%1/%2.qnk"_s.arg(title.version).arg(title.id()))
        return content(catalogue.content(title, title.version));
    return notFound();
}

} // namespace

DemoAnswer mediaAnswer(const DemoCatalogue &catalogue, const DemoRequest &request)
{
    if (request.path == u"/versions"_s)
        return versions(catalogue);
    if (request.path == u"/medias"_s)
        return medias(catalogue, request.mids);
    if (request.path == u"/firmware-version"_s)
        return text(QByteArray::number(DemoCatalogue::firmwareVersion));
    if (request.path == u"/image-version"_s)
        return text(QByteArray::number(DemoCatalogue::imageVersion));
    if (request.path == u"/shop"_s || request.path.startsWith(u"/shop/"_s))
        return shop();
    return notFound();
}

DemoAnswer fileAnswer(const DemoCatalogue &catalogue, const DemoRequest &request)
{
    if (request.path == u"/software/"_s + DemoCatalogue::firmwareFileName())
        return content(DemoCatalogue::firmware());
    if (request.path == u"/software/"_s + DemoCatalogue::imageFileName())
        return content(DemoCatalogue::image());
    if (request.path == u"/video.mp4"_s || request.path == u"/video-of-the-book.mp4"_s)
        return video();
    const QString folder = request.path.section(u'/', 0, 1);
    const auto title = catalogue.title(request.path.section(u'/', 3, 3).toInt());
    if (folder != u"/files"_s || !title
        || request.path.section(u'/', 2, 2).toInt() != title->publisherId)
        return notFound();
    return titleFile(catalogue, *title, request.path.section(u'/', 4));
}
