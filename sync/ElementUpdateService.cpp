#include "sync/ElementUpdateService.h"

#include "download/DownloadFileService.h"
#include "download/QueueWindow.h"
#include "library/ElementService.h"
#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/PenTitles.h"
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
    PenPlaces pen;
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

/// Absent after a debug line when the text cannot be encoded.
std::optional<QByteArray> jsonData(const QString &text, const QString &kind, const QString &answer)
{
    if (text.isValidUtf16())
        return text.toUtf8();
    debugPrint(u"Couldn't transform this "_s + kind + u' ' + answer
               + u" into a jasonData object"_s);
    return std::nullopt;
}

bool isMetadataReadable(const PenPlaces &pen, const QString &id)
{
    const std::optional<QString> file = pen.titleFile(id, FileType::txt);
    return file && ElementUpdateService::hasMetadata(pen, id)
           && !FileService::getFileContent(urlOf(*file)).value_or(QString()).isEmpty();
}

/// False when the pen has not taken the title's metadata. Metadata beside content is left to
/// planning, which writes it with the content, and a title without a version, of which the server
/// told none, takes nothing off the pen.
bool storeRequestedTitle(const PenPlaces &pen, const BaseElement &record, const QString &id)
{
    const bool stays = !record.isVersionTold || ElementService::qnkFileExists(pen, id);
    return (stays && isMetadataReadable(pen, id))
           || ElementUpdateService::writeMetadata(pen, record, id);
}

/// What became of the titles that the pen asked for; plain MIDs.
struct RequestedTitles
{
    QSet<QString> answered;
    QSet<QString> refused; ///< by the pen
    QSet<QString> askedAnew;
};

QStringList midsIn(const QUrl &tbd)
{
    QStringList mids;
    const QStringList lines = splitAtNewlines(FileService::getFileContent(tbd).value_or(QString()));
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = URLFactory::midExpression().match(line);
        if (match.hasMatch())
            mids += match.captured(1);
    }
    return mids;
}

QString requestLines(const QStringList &mids)
{
    QString lines;
    for (const QString &mid : mids)
        lines += u"MID="_s + mid + u'\n';
    return lines;
}

/// As a whole, so that a pen pulled meanwhile loses no request; in place where it has no room.
void writeRequests(const QString &lines, const QUrl &tbd)
{
    if (!FileManager::write(pathOf(tbd), lines.toUtf8(), FileManager::WriteMode::Atomic))
        FileService::writeFile(lines, tbd);
}

/// The lines of the requests that the pen could not be given, as it asked for them. A refused title
/// that nobody asked for stands for every request without an answer.
QString linesToKeep(const QStringList &asked, const RequestedTitles &titles)
{
    QSet<QString> unasked = titles.refused;
    for (const QString &mid : asked)
        unasked.remove(removeLeadingZeros(mid));
    QStringList kept;
    for (const QString &mid : asked) {
        const QString plain = removeLeadingZeros(mid);
        if (titles.refused.contains(plain) || titles.askedAnew.contains(plain)
            || (!unasked.isEmpty() && !titles.answered.contains(plain)))
            kept += mid;
    }
    kept.removeDuplicates();
    return requestLines(kept);
}

/// A server may answer more than was asked for.
bool isAskedFor(const CatalogueRun &run, const BaseElement &record)
{
    return std::any_of(run.tbdMids.begin(), run.tbdMids.end(), [&record](const QString &mid) {
        return removeLeadingZeros(mid) == record.mid;
    });
}

/// Leaves on the pen's list what the pen could not take and what it has content of, which is loaded
/// again and goes by being replaced only; the list alone once the run is stopped. Returns the
/// identifiers that are loaded again.
QStringList storeRequestedTitles(const CatalogueRun &run, const ElementList &requested,
                                 const ElementList &all)
{
    RequestedTitles titles;
    QStringList askedAnew;
    const PenTitles onPen(run.pen, all + requested);
    for (const ElementPtr &record : requested) {
        if (run.stop.stop_requested())
            return {};
        const QString id = onPen.identifierOf(*record);
        titles.answered += record->mid;
        if (run.removePrevious && record->isVersionTold && isAskedFor(run, *record)
            && ElementService::qnkFileExists(run.pen, id)) {
            askedAnew += id;
            titles.askedAnew += record->mid;
        }
        if (!storeRequestedTitle(run.pen, *record, id))
            titles.refused += record->mid;
    }
    if (!run.stop.stop_requested())
        writeRequests(linesToKeep(run.tbdMids, titles), run.pen.tbdFile());
    return askedAnew;
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
    const ElementList listed = BaseElement::elementsFromServer(*all, *versions);
    const ElementList requested = BaseElement::elementsFromServer(*tbd, *versions);
    catalogue.askedAnew = storeRequestedTitles(run, requested, listed);
    catalogue.records = listed + requested; // the first of an identifier counts
    if (run.stop.stop_requested())
        return;
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

/// The record whose content the row brings.
ElementPtr recordOf(const UpdateElement &row)
{
    const ElementList &records = pendingElements();
    const auto named =
        std::find_if(records.begin(), records.end(), [&row](const ElementPtr &record) {
            return record->mid == row.mid && record->id == nameOnServer(row);
        });
    return named == records.end() ? pendingElement(row.mid) : *named;
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
    const PenPlaces &pen, bool removePrevious, std::stop_token stop,
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
    requestVersions(std::make_shared<CatalogueRun>(CatalogueRun{pen,
                                                                removePrevious,
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

void ElementUpdateService::forgetRequests(const std::optional<PenPlaces> &pen,
                                          const QSet<QString> &mids)
{
    if (!pen
        || FileManager::contents(pathOf(pen->tbdFile()), 1).data.value_or(QByteArray()).isEmpty())
        return;
    QStringList left = midsIn(pen->tbdFile());
    const auto isOne = [&mids](const QString &asked) {
        return mids.contains(removeLeadingZeros(asked));
    };
    if (left.removeIf(isOne) > 0)
        writeRequests(requestLines(left), pen->tbdFile());
}

QStringList ElementUpdateService::readTbdMids()
{
    const std::optional<QUrl> tbd = URLFactory::getTbdFileURL();
    if (!tbd || !FileManager::fileExists(pathOf(*tbd))) {
        debugPrint(u"TBD file does not exist. Will return empty TBD array."_s);
        return {};
    }
    return midsIn(*tbd);
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
    return PenTitles::midOf(fileName);
}

bool ElementUpdateService::hasMetadata(const PenPlaces &pen, const QString &id)
{
    const std::optional<QString> file = pen.titleFile(id, FileType::txt);
    return file && FileManager::fileExists(*file);
}

bool ElementUpdateService::writeMetadata(const PenPlaces &pen, const BaseElement &record,
                                         const QString &id)
{
    const std::optional<QString> file = pen.titleFile(id, FileType::txt);
    return file && FileService::writeFile(record.textFileContent(), urlOf(*file));
}

void ElementUpdateService::downloadTitleContent(const QString &publisherId, const QString &mid,
                                                const QString &bookVersion,
                                                const QString &elementId,
                                                DownloadFileService &downloadFileService,
                                                const UpdateElement &row, const PenPlaces &pen)
{
    const std::optional<QString> address =
        contentAddress(publisherId, mid, bookVersion, nameOnServer(row));
    if (!address || !makeURL(*address) || !isSafeFileName(elementId)) {
        debugPrint(u"Could not create download URL for fetching QNK contents. Download wont "
                   u"happen."_s);
        downloadFileService.skipRow();
        return;
    }
    const auto told = [elementId](bool success) {
        if (!success)
            debugPrint(u"Failed to download QNK contents for element ID "_s + elementId);
    };
    const auto placed = [row, pen] {
        forgetRequests(pen, {row.mid}); // what was kept of them
        if (const ElementPtr record = recordOf(row))
            writeMetadata(pen, *record, row.elementId);
        else
            debugPrint(u"Failed to update TXT file after new QNK download for media with MID "_s
                       + row.mid);
    };
    downloadFileService.download(*address, pen.book(),
                                 URLFactory::fileName(elementId, FileType::qnk),
                                 UpdateFileType::qnk, told, placed);
}
