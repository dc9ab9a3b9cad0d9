#include "pen/FileService.h"
#include "pen/NavStorageItem.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/StandardOutput.h"
#include "tests/support/GoldenTrace.h"
#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <QDir>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

/// What the program writes down when it looks at the pen, and what it finds.
class PenTrace : public PenTest
{
protected:
    template <typename Work>
    void add(const QString &title, const Work &work)
    {
        QStringList printed;
        const QStringList logged = loggedBy([&] { printed = printedBy([&] { work(); }); });
        trace.add(title, logged + printed.replaceInStrings(QRegularExpression(u"^"_s), u"> "_s));
    }
    void addConnected(const QString &title)
    {
        add(title, [] { print(UsbService::isQuilloConnected() ? u"yes"_s : u"no"_s); });
    }
    void addPlaces(const QString &title)
    {
        for (const auto place :
             {URLFactory::getBookURL, URLFactory::getMusicURL, URLFactory::getConfigureURL,
              URLFactory::getSettingsFileURL, URLFactory::getTbdFileURL, URLFactory::getLogFileURL})
            add(title, [place] { print(place().value_or(QUrl()).toString(QUrl::FullyEncoded)); });
    }
    void addFile(const QString &title, const QString &name)
    {
        const QUrl url = URLFactory::fileURL(folder, name);
        add(title, [url] { print(FileService::getFileContent(url) ? u"text"_s : u"none"_s); });
        add(title + u", in lines"_s,
            [url] { print(FileService::getFileLines(url) ? u"lines"_s : u"none"_s); });
    }

    GoldenTrace trace;
    const QUrl folder = URLFactory::getBookURL().value();
};

TEST_F(PenTrace, IsAsRecorded)
{
    addConnected(u"a pen"_s);
    addPlaces(u"a place on the pen"_s);
    pen.write(u"book/ä 1.txt"_s, "Größe\r\n€");
    addFile(u"a text"_s, u"ä 1.txt"_s);
    pen.write(u"book/latin.txt"_s, "Gr\xf6\xdf");
    addFile(u"no text"_s, u"latin.txt"_s);
    addFile(u"no file"_s, u"none.txt"_s);
    add(u"no place for a kind of file"_s,
        [] { EXPECT_FALSE(URLFactory::url(u"123"_s, FileType::ini)); });
    pen.write(u"book/00042_en.qnk"_s, "x");
    pen.write(u"book/00042_en.txt"_s, "x");
    add(u"deletion"_s, [] { EXPECT_TRUE(FileService::deleteFiles(u"0042"_s)); });
    add(u"deletion of nothing"_s,
        [this] { FileService::deleteFile(URLFactory::fileURL(folder, u"b c.txt"_s)); });
    add(u"deletion of the pen"_s,
        [this] { EXPECT_FALSE(FileService::deleteFile(pen.volumePath(QString()))); });
    add(u"the gauge"_s, [] { const NavStorageItem gauge; });

    const QString settings = u"configure/settings.ini"_s;
    pen.write(settings, "");
    addConnected(u"empty settings"_s);
    pen.write(settings, "firmwareVersion=1\n\xff");
    addConnected(u"settings that are no text"_s);
    pen.remove(settings);
    addConnected(u"no settings"_s);
    pen.write(settings + u"/x"_s, "a folder");
    addConnected(u"settings that are a folder"_s);

    QDir(pen.volumes()).mkdir(u"ARCHIV \"1\""_s);
    QDir(pen.volumes()).mkdir(u"NO NAME"_s);
    FolderVolumes sorted(pen.volumes());
    FileManager::setVolumeSource(&sorted);
    add(u"the first pen of several volumes"_s, [] { EXPECT_TRUE(URLFactory::getQuilloURL()); });

    for (const QString &name : {u"ARCHIV \"1\""_s, u"NO NAME"_s})
        QDir(pen.volumes()).rmdir(name);
    pen.pullOut();
    addConnected(u"no pen"_s);
    addPlaces(u"no place without pen"_s);
    addFile(u"no file without pen"_s, u"ä 1.txt"_s);
    add(u"no gauge without pen"_s, [] { const NavStorageItem gauge; });
    add(u"no writing without pen"_s, [this] { FileService::writeFile(u"x"_s, folder); });
    FileManager::setVolumeSource(nullptr);
    add(u"no volumes"_s, [] { EXPECT_FALSE(URLFactory::getQuilloURL()); });
    trace.expectAsIn(u"pen.txt"_s);
}

} // namespace
