#include "library/ElementService.h"

#include "base/ApplicationLog.h"
#include "library/KnownFiles.h"
#include "library/LibraryLists.h"
#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Address.h"
#include "platform/FileManager.h"
#include "platform/FolderVisit.h"
#include "platform/StandardOutput.h"

#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// As much of a cover as tells that it is a picture: enough for a PNG, and for one whose header is
/// long.
constexpr qint64 coverHead = 64;
constexpr qint64 longCoverHead = 256 * 1024;

struct MetadataText
{
    QString identifier;
    QString content; ///< with the prefix that names the identifier
};

QString identifier(const QString &fileName)
{
    QString name = fileName;
    return name.remove(fileExtension(FileType::txt));
}

/// A title's own "Id:" line stands unless it could not be the base name of files.
ElementPtr record(const MetadataText &text)
{
    auto element = std::make_shared<BaseElement>(BaseElement::parseTextFile(text.content));
    if (!isSafeFileName(element->id)) {
        debugPrint(u"Not an identifier: "_s + element->id);
        const BaseElement named = BaseElement::parseTextFile(u"Id: "_s + text.identifier);
        element->id = named.id;
        element->mid = named.mid;
    }
    return element;
}

QList<MetadataText> readMetadataFiles(const QString &bookFolder, const QStringList &fileNames)
{
    QList<MetadataText> texts;
    texts.reserve(fileNames.size());
    knownFiles().reserve(fileNames.size());
    for (const QString &name : fileNames) {
        const auto content = knownFiles().text(bookFolder + name);
        if (!content)
            continue;
        const QString id = identifier(name);
        const QString prefix = u"Id: "_s + id + u'\n';
        texts.append({id, prefix + *content});
        writeLog(u"getQuilloFilesInfoFromPen in for elementFiles: "_s + prefix);
    }
    writeLog(u"getQuilloFilesInfoFromPen nach for elementFileNames"_s);
    return texts;
}

ElementList sortedRecords(const QList<MetadataText> &texts)
{
    writeLog(u"getQuilloFilesInfoFromPen in if contentList.count > 0"_s);
    writeLog(u"getQuilloFilesInfoFromPen contentList length = "_s + QString::number(texts.size()));
    ElementList records;
    records.reserve(texts.size());
    for (const MetadataText &text : texts)
        records += record(text);
    writeLog(u"getQuilloFilesInfoFromPen nach for contentList"_s);
    std::stable_sort(records.begin(), records.end(),
                     [](const ElementPtr &a, const ElementPtr &b) { return a->name < b->name; });
    writeLog(u"getQuilloFilesInfoFromPen baseElementArray length = "_s
             + QString::number(records.size()));
    return records;
}

void appendByKind(PenLibrary &library, const BaseElement &element)
{
    if (!element.type)
        return;
    switch (*element.type) {
    case ElementType::Book:
        library.books += std::make_shared<Book>(element);
        break;
    case ElementType::Game:
        library.games += std::make_shared<Game>(element);
        break;
    case ElementType::Archive:
        library.archives += std::make_shared<Archive>(element);
        break;
    case ElementType::LearningMaterial:
        library.learningMaterials += std::make_shared<LearningMaterial>(element);
        break;
    }
}

/// The dummy when the file cannot be read or is too large to be shown, absent when it is none.
std::optional<CoverImage> coverOf(const QString &file, FileManager::Stamp &stamp)
{
    const FileManager::Contents head = FileManager::contents(file, coverHead);
    stamp = head.stamp;
    if (!head.data)
        return dummyCover();
    std::optional<QSize> size = pictureSize(*head.data);
    if (!size && stamp.size > coverHead)
        size = pictureSize(FileManager::contents(file, longCoverHead).data.value_or(QByteArray()));
    if (!size)
        return std::nullopt;
    if (!isShowable(*size))
        return dummyCover();
    return CoverImage{file, *size, stamp.size, stamp.modified};
}

PenLibrary libraryWithCovers(const ElementList &records, const PenPlaces &pen)
{
    PenLibrary library;
    for (const ElementPtr &element : records) {
        writeLog(u"getQuilloFilesInfoFromPen in for baseElementArray: "_s + element->id);
        const std::optional<QString> file = pen.titleFile(element->id, FileType::png);
        element->image = file ? knownFiles().cover(*file, coverOf) : dummyCover();
        if (!element->image)
            continue;
        writeLog(u"getQuilloFilesInfoFromPen if image != nil"_s);
        appendByKind(library, *element);
    }
    writeLog(u"getQuilloFilesInfoFromPen nach for baseElementArray"_s);
    return library;
}

PenLibrary scan()
{
    const std::optional<PenPlaces> pen = UsbService::connectedPen();
    if (!pen)
        return {};
    writeLog(u"getQuilloFilesInfoFromPen in if isQuilloConnected"_s);
    const QString bookFolder = pathOf(pen->book());
    if (!FileManager::fileExists(bookFolder))
        return {};
    const FolderVisit visit = FileManager::visit(bookFolder);
    writeLog(u"getQuilloFilesInfoFromPen in if bookFolderExists"_s);
    const QStringList names = FileService::listFiles(pen->book(), fileExtension(FileType::txt));
    writeLog(u"getQuilloFilesInfoFromPen elementFileNames length = "_s
             + QString::number(names.size()));
    const QList<MetadataText> texts = readMetadataFiles(bookFolder, names);
    if (texts.isEmpty())
        return {};
    return libraryWithCovers(sortedRecords(texts), *pen);
}

/// The first of those that share an identifier stands for it.
QHash<QString, ElementPtr> titlesById()
{
    QHash<QString, ElementPtr> titles;
    for (const ElementPtr &title : allElements()) {
        if (!titles.contains(title->id))
            titles.insert(title->id, title);
    }
    return titles;
}

QString deletionLine(const BaseElement &title)
{
    return u"Will delete "_s + title.name + u" of type "_s
           + (title.type ? rawValue(*title.type) : u"nil"_s);
}

/// False when a file may still be on the pen.
bool removeFiles(const std::optional<PenPlaces> &pen, const QString &id)
{
    bool nothingLeft = pen.has_value();
    for (const FileType type : {FileType::txt, FileType::png, FileType::qnk}) {
        const std::optional<QString> file = pen ? pen->titleFile(id, type) : std::nullopt;
        if (!file || (!FileService::deleteFile(*file) && FileManager::fileExists(*file)))
            nothingLeft = false;
    }
    // A file of a pen that has just been pulled only seems to be gone.
    return nothingLeft && PenPlaces::look();
}

} // namespace

PenLibrary ElementService::getQuilloFilesInfoFromPen()
{
    const LogBatch batch;
    writeLog(u"getQuilloFilesInfoFromPen Beginn"_s);
    PenLibrary library = scan();
    writeLog(u"getQuilloFilesInfoFromPen Ende"_s);
    return library;
}

ElementList ElementService::getTextFileContentFromPen()
{
    const LogBatch batch;
    writeLog(u"getTextFileContentFromPen Beginn"_s);
    const std::optional<QUrl> bookFolder = URLFactory::getBookURL();
    if (!bookFolder) {
        writeLog(u"getTextFileContentFromPen return"_s);
        return {};
    }
    const QString folder = pathOf(*bookFolder);
    const FolderVisit visit = FileManager::visit(folder);
    const QStringList names = FileService::listFiles(*bookFolder, fileExtension(FileType::txt));
    writeLog(u"getTextFileContentFromPen elementFileNames length "_s
             + QString::number(names.size()));
    ElementList records;
    for (const QString &name : names) {
        const auto content = knownFiles().text(folder + name);
        if (!content) {
            writeLog(u"getTextFileContentFromPen continue"_s);
            continue;
        }
        records += record({identifier(name), idPrefix(name) + *content});
        writeLog(u"getTextFileContentFromPen in for elementFileNames: "_s + idPrefix(name));
    }
    writeLog(u"getTextFileContentFromPen nach for elementFileNames"_s);
    writeLog(u"getTextFileContentFromPen baseElementArray length: "_s
             + QString::number(records.size()));
    writeLog(u"getTextFileContentFromPen Ende"_s);
    return records;
}

QString ElementService::idPrefix(const QString &fileName)
{
    return u"Id: "_s + identifier(fileName) + u'\n';
}

std::optional<CoverImage> ElementService::loadCoverImage(const PenPlaces &pen, const QString &id)
{
    const std::optional<QString> file = pen.titleFile(id, FileType::png);
    FileManager::Stamp stamp;
    return file ? coverOf(*file, stamp) : dummyCover();
}

QStringList ElementService::deleteElements(const QStringList &ids)
{
    const LogBatch batch;
    const QHash<QString, ElementPtr> known = titlesById();
    const std::optional<PenPlaces> pen = PenPlaces::look();
    QStringList left;
    for (const QString &id : ids) {
        if (const ElementPtr title = known.value(id))
            print(deletionLine(*title));
        if (!removeFiles(pen, id))
            left += id;
    }
    return left;
}

bool ElementService::deleteElement(const QString &id)
{
    return deleteElements({id}).isEmpty();
}

bool ElementService::qnkFileExists(const PenPlaces &pen, const QString &id)
{
    const std::optional<QString> file = pen.titleFile(id, FileType::qnk);
    return file && FileManager::fileExists(*file);
}
