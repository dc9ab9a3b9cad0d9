#include "bench/BenchPen.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <map>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int distinctCovers = 20;

/// A picture with the grain of a photograph in its middle, which makes a PNG of it expensive.
void addGrain(QImage &image, QRandomGenerator &random)
{
    for (int y = image.height() / 4; y < image.height() * 3 / 4; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            line[x] ^= random.generate() & 0x070707;
    }
}

QByteArray cover(int number)
{
    QImage image(600, 800, QImage::Format_RGB32);
    QPainter painter(&image);
    for (int y = 0; y < image.height(); y += 4)
        painter.fillRect(0, y, image.width(), 4,
                         QColor::fromHsv((number * 18 + y / 4) % 360, 160, 220));
    painter.end();
    QRandomGenerator random(static_cast<quint32>(number));
    addGrain(image, random);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

/// Encoded once in this process, whatever the number of pens.
const QList<QByteArray> &covers()
{
    static const QList<QByteArray> all = [] {
        QList<QByteArray> made;
        for (int i = 0; i < distinctCovers; ++i)
            made += cover(i);
        return made;
    }();
    return all;
}

} // namespace

BenchPen::BenchPen(int titles, Files files)
{
    QFile configurationFile(configuration());
    if (!configurationFile.open(QIODevice::WriteOnly))
        qFatal("no configuration");
    configurationFile.write("<plist version=\"1.0\"><dict/></plist>");
    for (const QString &folder : {u"book"_s, u"mp3"_s, u"configure"_s, u"shared"_s})
        QDir().mkpath(path(folder));
    write(u"configure/settings.ini"_s, "firmwareVersion=1\nImageVersion=1\n");
    if (titles > 0)
        addShared();
    for (int i = 0; i < titles; ++i)
        add(i, files);
}

QString BenchPen::path(const QString &relative) const
{
    return volumes() + u"/QUILLO/"_s + relative;
}

void BenchPen::pullOut() const
{
    if (!QDir().rename(path({}), m_folder.filePath(u"drawer"_s)))
        qFatal("the pen stays");
}

void BenchPen::plugIn() const
{
    if (!QDir().rename(m_folder.filePath(u"drawer"_s), path({})))
        qFatal("the pen does not come");
}

void BenchPen::write(const QString &relative, const QByteArray &data) const
{
    QFile file(path(relative));
    if (!file.open(QFile::WriteOnly) || file.write(data) != data.size())
        qFatal("no file %s", qPrintable(relative));
}

/// What titles of the same cover and content share stands beside the book folder.
void BenchPen::addShared() const
{
    for (int i = 0; i < distinctCovers; ++i)
        write(u"shared/%1.png"_s.arg(i), covers().at(i));
    write(u"shared/content.qnk"_s, QByteArray(4096, 'q'));
}

void BenchPen::add(int title, Files files) const
{
    const QString base = u"book/%1_en"_s.arg(mid(title));
    write(base + u".txt"_s,
          "Name: Title " + QByteArray::number(title)
              + "\nPublisher: P\nAuthor: A\nBook Area Code: en\nISBN: 978\nType: Buch\n"
                "Book Version: 1\n");
    if (files == Files::ToScan) {
        addCoverHead(title, base + u".png"_s);
        return;
    }
    link(u"shared/%1.png"_s.arg(title % distinctCovers), base + u".png"_s);
    link(u"shared/content.qnk"_s, base + u".qnk"_s);
}

void BenchPen::addCoverHead(int title, const QString &relative) const
{
    constexpr qsizetype head = 8 * 1024;
    const QByteArray &whole = covers().at(title % distinctCovers);
    write(relative, whole.first(head));
    if (!QFile::resize(path(relative), whole.size()))
        qFatal("no cover %s", qPrintable(relative));
}

void BenchPen::link(const QString &existing, const QString &relative) const
{
    const QByteArray from = QFile::encodeName(path(existing));
    const QByteArray to = QFile::encodeName(path(relative));
    if (::link(from.constData(), to.constData()) != 0)
        qFatal("no link %s", to.constData());
}

const BenchPen &sharedPen(int titles)
{
    static std::map<int, BenchPen> pens;
    return pens.try_emplace(titles, titles).first->second;
}
