#include "sync/UpdatePlanner.h"

#include "base/ApplicationLog.h"
#include "library/ElementService.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/ElementUpdateService.h"
#include "sync/PenTitles.h"
#include "sync/RequestAddresses.h"

#include <QSet>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The pen keeps the content under `id`, whatever the server calls it.
UpdateElement contentRow(const BaseElement &remote, const QString &id)
{
    UpdateElement row;
    row.publisherId = QString::number(remote.publisherId);
    row.mid = remote.mid;
    row.bookVersion = QString::number(remote.bookVersion);
    row.elementId = id;
    row.serverElementId = remote.id;
    row.title = remote.name;
    row.image = dummyCover();
    return row;
}

/// The row that brings a pen title up to its remote version. Its size is asked for with the
/// queue's.
UpdateElement updateRow(const BaseElement &local, const BaseElement &remote)
{
    UpdateElement row = contentRow(remote, local.id);
    row.title = local.name;
    row.updateURLString = remote.url;
    return row;
}

QString queuedLine(const BaseElement &local, const BaseElement &remote)
{
    return u"Queued update element for local media "_s + local.mid + u" (REMOTE "_s
           + QString::number(remote.bookVersion) + u" > LOCAL "_s
           + QString::number(local.bookVersion) + u"), content length is 0"_s;
}

QString noMatchLine(const QString &mid)
{
    return u"Did not find a matching remote element for "_s + mid + u'.';
}

/// A record without any version has no content to be asked for. One of a title that the versions
/// lack names the first version: enough for content that is missing, not for what is there.
bool namesContent(const BaseElement &record)
{
    return record.isVersionTold || record.bookVersion > 0;
}

/// As many requests as one server answers at a time without being troubled.
constexpr int coversAtOnce = 4;

} // namespace

UpdatePlanner::UpdatePlanner(PlanningTask task)
    : m_task(std::move(task))
{
    const ElementList &records = m_task.remoteMedias;
    m_nextOfMid.resize(records.size());
    m_firstOfMid.reserve(records.size());
    for (const ElementPtr &local : std::as_const(m_task.localMedias))
        m_idsOnPen += local->id;
    for (auto i = records.size() - 1; i >= 0; --i) {
        const QString &mid = records.at(i)->mid;
        m_nextOfMid[i] = m_firstOfMid.value(mid, none);
        m_firstOfMid.insert(mid, i);
    }
}

ElementPtr UpdatePlanner::remote(const QString &mid, const QString &id) const
{
    ElementPtr other;
    for (auto i = m_firstOfMid.value(mid, none); i != none; i = m_nextOfMid.at(i)) {
        const ElementPtr &record = m_task.remoteMedias.at(i);
        if (record->id == id)
            return record;
        if (!other && !m_idsOnPen.contains(record->id))
            other = record;
    }
    return other;
}

void UpdatePlanner::run(std::function<void()> finished)
{
    writeLog(u"updateAll in"_s);
    checkLocalMedias();
    Dispatch::main(QCoreApplication::instance(), [] { writeLog(u"updateAll in 2"_s); });
    const PenTitles pen(m_task.pen, m_task.remoteMedias);
    queueMissingContent(pen);
    queueContent(m_task.askedAnew);
    downloadMissingCovers(pen);
    restoreMissingTextFiles(pen);
    if (m_task.stop.stop_requested())
        return;
    writeLog(u"updateAll nach missing ..."_s);
    finished();
}

void UpdatePlanner::checkLocalMedias()
{
    for (const ElementPtr &local : std::as_const(m_task.localMedias)) {
        if (m_task.stop.stop_requested())
            return;
        const ElementPtr remote = this->remote(local->mid, local->id);
        if (!remote) {
            debugPrint(noMatchLine(local->mid));
        } else if (!remote->isVersionTold) {
            continue; // nobody knows whether it is up to date
        } else if (local->bookVersion >= remote->bookVersion) {
            refreshMetadata(*local, *remote);
        } else {
            m_task.queueRow(updateRow(*local, *remote));
            debugPrint(queuedLine(*local, *remote));
        }
    }
}

/// Not of a title that has been deleted since it was read.
void UpdatePlanner::refreshMetadata(const BaseElement &local, const BaseElement &remote) const
{
    if (ElementUpdateService::hasMetadata(m_task.pen, local.id))
        ElementUpdateService::writeMetadata(m_task.pen, remote, local.id);
}

void UpdatePlanner::queueMissingContent(const PenTitles &pen)
{
    queueContent(pen.getMissingIdsByQnk());
}

void UpdatePlanner::queueContent(const QStringList &ids)
{
    for (const QString &id : ids) {
        const ElementPtr record = remote(PenTitles::midOf(id), id);
        if (record && namesContent(*record) && !m_task.stop.stop_requested())
            m_task.queueRow(contentRow(*record, id));
    }
}

/// Each once, for titles and for what only looks like one: a file beside the title's own.
QList<UpdatePlanner::Cover> UpdatePlanner::missingCovers(const PenTitles &pen) const
{
    QList<Cover> covers;
    QSet<QString> asked;
    const QStringList ids = pen.getMissingFiles(FileType::png);
    for (const QString &id : ids) {
        const ElementPtr record = remote(PenTitles::midOf(id), id);
        if (!record)
            continue;
        const QString title = pen.has(id, FileType::txt) ? id : pen.identifierOf(*record);
        if (pen.has(title, FileType::png) || asked.contains(title))
            continue;
        asked += title;
        const auto address =
            coverAddress(QString::number(record->publisherId), record->mid, record->id);
        const auto encoded = address ? percentEncodedForQuery(*address) : std::nullopt;
        if (const auto url = encoded ? makeURL(*encoded) : std::nullopt)
            covers.append({*url, title});
    }
    return covers;
}

/// Nobody waits for them, so that a slow server holds no title up.
void UpdatePlanner::downloadMissingCovers(const PenTitles &pen)
{
    sharedSession().async([self = shared_from_this(), covers = missingCovers(pen)] {
        self->m_covers = covers;
        for (int i = 0; i < coversAtOnce; ++i)
            self->downloadNextCover();
    });
}

void UpdatePlanner::downloadNextCover()
{
    if (m_covers.isEmpty() || m_task.stop.stop_requested())
        return;
    const Cover cover = m_covers.takeFirst();
    URLRequest request;
    request.url = cover.url;
    sharedSession().dataTask(request, [self = shared_from_this(),
                                       cover](const DataTaskResult &result) {
        if (!result.response || result.isSilent)
            self->m_covers.clear(); // nor would the server answer for the others
        if (!result.isSuccess())
            print(u"No cover: "_s + result.failure());
        else if (!result.isEndTold)
            print(u"No cover, or not all of it, at "_s + cover.url.toString(QUrl::FullyEncoded));
        else
            self->storeCover(cover, result.data);
        self->downloadNextCover();
    });
}

/// What is no picture never becomes a cover, nor does that of a title deleted meanwhile, which
/// would come back with it.
void UpdatePlanner::storeCover(const Cover &cover, const QByteArray &picture) const
{
    if (m_task.stop.stop_requested())
        return;
    if (!pictureSize(picture)) {
        print(u"No picture at "_s + cover.url.toString(QUrl::FullyEncoded));
        return;
    }
    const std::optional<QString> path = m_task.pen.titleFile(cover.id, FileType::png);
    const bool isThere = ElementUpdateService::hasMetadata(m_task.pen, cover.id)
                         || ElementService::qnkFileExists(m_task.pen, cover.id);
    if (!path || !isThere)
        return;
    const FileResult written = FileManager::write(*path, picture, FileManager::WriteMode::Atomic);
    if (written)
        m_task.coverCame(cover.id);
    else
        print(written.error);
}

void UpdatePlanner::restoreMissingTextFiles(const PenTitles &pen)
{
    const QStringList ids = pen.getMissingFiles(FileType::txt);
    for (const QString &id : ids) {
        if (m_task.stop.stop_requested())
            return;
        const QString mid = PenTitles::midOf(id);
        if (!m_firstOfMid.contains(mid)) {
            debugPrint(noMatchLine(mid));
            return;
        }
        const ElementPtr record = remote(mid, id);
        if (!record)
            continue; // a stray file beside another title
        const QString title = pen.identifierOf(*record);
        if (record->isVersionTold && !pen.has(title, FileType::txt))
            ElementUpdateService::writeMetadata(m_task.pen, *record, title);
    }
}
