#include "sync/ElementUpdateService.h"

#include "download/DownloadFileService.h"
#include "download/QueueWindow.h"
#include "library/ElementService.h"
#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/RequestAddresses.h"

#include <QSet>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString fetchOperation =
    u"fetchAllElementsFromMediaServer(removePrevious:completionHandler:)"_s;

/// One catalogue run: what it asked for and, one after another, what came back.
struct CatalogueRun
{
    bool removePrevious;
    std::stop_token stop;
    std::function<void(const Catalogue &)> completionHandler;
    QStringList tbdMids;
    QUrl versionsURL;
    QUrl allTitlesURL;
    QUrl tbdURL;
    QString versions;
    QString allTitles;
    QString tbdTitles;
};

/// The part of a file name before its first ".".
QString baseName(const QString &fileName)
{
    return fileName.section(u'.', 0, 0);
}

QString path(const QUrl &url)
{
    return url.path(QUrl::FullyDecoded);
}

QStringList bookFolderEntries(const QString &containing)
{
    const std::optional<QUrl> folder = URLFactory::getBookURL();
    return folder ? FileService::listFiles(*folder, containing) : QStringList();
}

/// Absent after a debug line when the text cannot be encoded.
std::optional<QByteArray> jsonData(const QString &text, const QString &kind, const QString &answer)
{
    if (text.isValidUtf16())
        return text.toUtf8();
    debugPrint(u"Couldn't transform this "_s + kind + u' ' + answer
               + u" into a jasonData object"_s);
    return std::nullopt;
}

/// False when the pen has not taken the title's metadata. A title without a version, of which the
/// server gave none, takes nothing off the pen, and metadata beside content is left to planning,
/// which writes it with the content.
bool storeRequestedTitle(const BaseElement &record, bool removePrevious)
{
    const bool replaceable = record.bookVersion > 0;
    if (removePrevious && replaceable && !FileService::deleteFiles(record.mid))
        debugPrint(u"Error while deleting book "_s + record.mid);
    const QString name = makeElementId(record.mid, record.bookAreaCode);
    if (ElementService::qnkFileExists(name))
        return true;
    const std::optional<QUrl> folder = URLFactory::getBookURL();
    return folder
           && FileService::writeFile(
               record.textFileContent(),
               URLFactory::fileURL(*folder, URLFactory::fileName(name, FileType::txt)));
}

void writeTbdFile(const QString &lines)
{
    if (const std::optional<QUrl> tbd = URLFactory::getTbdFileURL())
        FileService::writeFile(lines, *tbd);
}

void processAnswers(const CatalogueRun &run)
{
    debugPrint(u"now i got all responses"_s);
    const auto versions = jsonData(u'[' + run.versions + u']', u"Version Response"_s, run.versions);
    const auto all = jsonData(run.allTitles, u"MID Data Response"_s, run.allTitles);
    const auto tbd = jsonData(run.tbdTitles, u"TBD Response"_s, run.tbdTitles);
    if (!versions || !all || !tbd)
        return;
    Catalogue catalogue;
    catalogue.records = BaseElement::elementsFromServer(*all, *versions);
    const ElementList requested = BaseElement::elementsFromServer(*tbd, *versions);
    QString left;
    for (const ElementPtr &record : requested) {
        if (run.stop.stop_requested())
            return;
        if (!storeRequestedTitle(*record, run.removePrevious))
            left += u"MID="_s + record->mid + u'\n';
    }
    if (run.stop.stop_requested())
        return;
    writeTbdFile(left);
    catalogue.result = debugDescription(run.tbdMids);
    run.completionHandler(catalogue);
}

void requestTbdTitles(const std::shared_ptr<CatalogueRun> &run)
{
    ElementUpdateService::fetchText(run->tbdURL, run->stop, [run](const QString &text) {
        run->tbdTitles = text;
        if (!run->stop.stop_requested())
            processAnswers(*run);
    });
}

void requestAllTitles(const std::shared_ptr<CatalogueRun> &run)
{
    ElementUpdateService::fetchText(run->allTitlesURL, run->stop, [run](const QString &text) {
        run->allTitles = text;
        if (!run->stop.stop_requested())
            requestTbdTitles(run);
    });
}

void requestVersions(const std::shared_ptr<CatalogueRun> &run)
{
    ElementUpdateService::fetchText(run->versionsURL, run->stop, [run](const QString &text) {
        run->versions = text;
        if (!run->stop.stop_requested())
            requestAllTitles(run);
    });
}

QString tbdListText(const QStringList &tbdMids)
{
    if (tbdMids.isEmpty()) {
        debugPrint(u"No MIDs found in TBD file"_s);
        return {};
    }
    debugPrint(u"there are "_s + QString::number(tbdMids.size())
               + u" tbd mids and the array is empty = false "_s);
    return midList(tbdMids).value_or(QString());
}

} // namespace

void ElementUpdateService::fetchAllElementsFromMediaServer(
    bool removePrevious, std::stop_token stop,
    std::function<void(const Catalogue &)> completionHandler)
{
    const QStringList tbdMids = readTbdMids();
    const QStringList penMids = readLocalMids();
    const QString tbdList = tbdListText(tbdMids);
    const QString allList = midList(penMids + tbdMids).value_or(QString());
    if (allList.isEmpty()) {
        debugPrint(u"Couldn't find any MIDs, not on the Quillo nor in the tbd file."_s);
        completionHandler({});
        return;
    }
    const std::optional<QUrl> versions = versionsURL();
    const std::optional<QUrl> allTitles = titleDataURL(allList);
    const std::optional<QUrl> tbdTitles = titleDataURL(tbdList);
    if (!versions || !allTitles || !tbdTitles) {
        debugPrint(u"Failed in "_s + fetchOperation);
        completionHandler({});
        return;
    }
    requestVersions(std::make_shared<CatalogueRun>(CatalogueRun{removePrevious,
                                                                std::move(stop),
                                                                std::move(completionHandler),
                                                                tbdMids,
                                                                *versions,
                                                                *allTitles,
                                                                *tbdTitles,
                                                                {},
                                                                {},
                                                                {}}));
}

void ElementUpdateService::fetchText(const QUrl &url, std::stop_token stop,
                                     std::function<void(const QString &text)> completion)
{
    URLRequest request;
    request.url = url;
    sharedSession().dataTask(request, [stop = std::move(stop), completion = std::move(completion)](
                                          const DataTaskResult &result) {
        if (!result.isSuccess())
            print(result.failure());
        const std::optional<QString> text =
            result.isSuccess() ? decodeUtf8(result.data) : std::nullopt;
        if (!text && !stop.stop_requested())
            Dispatch::main(QCoreApplication::instance(), [stop] {
                if (!stop.stop_requested())
                    QueueWindow::postNoResponseFromServer();
            });
        completion(text.value_or(QString()));
    });
}

QStringList ElementUpdateService::readTbdMids()
{
    const std::optional<QUrl> tbd = URLFactory::getTbdFileURL();
    if (!tbd || !FileManager::fileExists(path(*tbd))) {
        debugPrint(u"TBD file does not exist. Will return empty TBD array."_s);
        return {};
    }
    QStringList mids;
    const QStringList lines =
        splitAtNewlines(FileService::getFileContent(*tbd).value_or(QString()));
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = URLFactory::midExpression().match(line);
        if (match.hasMatch())
            mids += match.captured(1);
    }
    return mids;
}

QStringList ElementUpdateService::readLocalMids()
{
    const std::optional<QUrl> folder = URLFactory::getBookURL();
    if (!folder)
        return {};
    QSet<QString> mids;
    for (const FileType type : {FileType::txt, FileType::png, FileType::qnk}) {
        const QStringList names = FileService::listFiles(*folder, fileExtension(type));
        for (const QString &name : names)
            mids += midFromFileName(baseName(name));
    }
    QStringList sorted = mids.values();
    sorted.sort();
    return sorted;
}

QString ElementUpdateService::midFromFileName(const QString &fileName)
{
    return removeLeadingZeros(fileName.section(u'_', 0, 0));
}

QStringList ElementUpdateService::getMissingFiles(FileType type)
{
    const QStringList names = bookFolderEntries(QString());
    const QSet<QString> present(names.begin(), names.end());
    QStringList mids;
    for (const QString &name : names) {
        const QString base = baseName(name);
        if (!present.contains(URLFactory::fileName(base, type)))
            mids += midFromFileName(base);
    }
    return mids;
}

QStringList ElementUpdateService::getMissingMidsByQnk()
{
    const QStringList names = bookFolderEntries(QString());
    const QSet<QString> present(names.begin(), names.end());
    QStringList mids;
    for (const QString &name : names) {
        const QString base = baseName(name);
        if (name == URLFactory::fileName(base, FileType::txt)
            && !present.contains(URLFactory::fileName(base, FileType::qnk)))
            mids += midFromFileName(base);
    }
    mids.removeDuplicates();
    return mids;
}

void ElementUpdateService::writeMetadata(const BaseElement &record)
{
    const std::optional<QUrl> folder = URLFactory::getBookURL();
    if (folder)
        FileService::writeFile(
            record.textFileContent(),
            URLFactory::fileURL(*folder, URLFactory::fileName(record.id, FileType::txt)));
}

void ElementUpdateService::downloadTitleContent(const QString &publisherId, const QString &mid,
                                                const QString &bookVersion,
                                                const QString &elementId,
                                                DownloadFileService &downloadFileService,
                                                const UpdateElement &row)
{
    const std::optional<QString> address = contentAddress(publisherId, mid, bookVersion, elementId);
    const std::optional<QUrl> folder = URLFactory::getBookURL();
    if (!address || !folder || !isSafeFileName(elementId)) {
        debugPrint(u"Could not create download URL for fetching QNK contents. Download wont "
                   u"happen."_s);
        downloadFileService.skipRow();
        return;
    }
    const auto told = [elementId](bool success) {
        if (!success)
            debugPrint(u"Failed to download QNK contents for element ID "_s + elementId);
    };
    const auto placed = [rowMid = row.mid] {
        if (const ElementPtr record = pendingElement(rowMid))
            writeMetadata(*record);
        else
            debugPrint(u"Failed to update TXT file after new QNK download for media with MID "_s
                       + rowMid);
    };
    downloadFileService.download(*address, *folder, URLFactory::fileName(elementId, FileType::qnk),
                                 UpdateFileType::qnk, told, placed);
}
