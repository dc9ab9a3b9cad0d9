#include "sync/UpdatePlanner.h"

#include "app/ApplicationLog.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/ElementUpdateService.h"
#include "sync/RequestAddresses.h"

#include <atomic>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

UpdateElement contentRow(const BaseElement &remote)
{
    UpdateElement row;
    row.publisherId = QString::number(remote.publisherId);
    row.mid = remote.mid;
    row.bookVersion = QString::number(remote.bookVersion);
    row.elementId = remote.id;
    row.title = remote.name;
    row.image = dummyCover();
    return row;
}

/// The row that brings a pen title up to its remote version.
UpdateElement updateRow(const BaseElement &local, const BaseElement &remote, qint64 length)
{
    UpdateElement row = contentRow(remote);
    row.elementId = local.id;
    row.title = local.name;
    row.contentLength = length;
    row.updateURLString = remote.url;
    return row;
}

QString queuedLine(const BaseElement &local, const BaseElement &remote, qint64 length)
{
    return u"Queued update element for local media "_s + local.mid + u" (REMOTE "_s
           + QString::number(remote.bookVersion) + u" > LOCAL "_s
           + QString::number(local.bookVersion) + u"), content length is "_s
           + QString::number(length);
}

QString noMatchLine(const QString &mid)
{
    return u"Did not find a matching remote element for "_s + mid + u'.';
}

/// A record of which the server gave no version has no content to be asked for, and would take
/// the title's own version from it.
bool hasVersion(const BaseElement &record)
{
    return record.bookVersion > 0;
}

} // namespace

UpdatePlanner::UpdatePlanner(PlanningTask task)
    : m_task(std::move(task))
{
    const ElementList &records = m_task.remoteMedias;
    m_nextOfMid.resize(records.size());
    m_firstOfMid.reserve(records.size());
    for (auto i = records.size() - 1; i >= 0; --i) {
        const QString &mid = records.at(i)->mid;
        m_nextOfMid[i] = m_firstOfMid.value(mid, none);
        m_firstOfMid.insert(mid, i);
    }
}

ElementPtr UpdatePlanner::remote(const QString &mid) const
{
    const qsizetype first = m_firstOfMid.value(mid, none);
    return first == none ? nullptr : m_task.remoteMedias.at(first);
}

void UpdatePlanner::run(std::function<void()> finished)
{
    writeLog(u"updateAll in"_s);
    checkLocalMedias([](int) { writeLog(u"updateAll in 2"_s); });
    queueMissingContent();
    downloadMissingCovers([self = shared_from_this(), finished = std::move(finished)] {
        if (self->m_task.stop.stop_requested())
            return;
        self->restoreMissingTextFiles();
        writeLog(u"updateAll nach missing ..."_s);
        finished();
    });
}

void UpdatePlanner::checkLocalMedias(std::function<void(int rows)> completion)
{
    const auto queued = std::make_shared<std::atomic_int>(0);
    DispatchGroup group;
    for (const ElementPtr &local : std::as_const(m_task.localMedias)) {
        if (m_task.stop.stop_requested())
            return;
        const ElementPtr remote = this->remote(local->mid);
        if (!remote) {
            debugPrint(noMatchLine(local->mid));
        } else if (local->bookVersion >= remote->bookVersion) {
            if (hasVersion(*remote))
                ElementUpdateService::writeMetadata(*remote);
        } else {
            group.enter();
            m_task.sizeOf(remote->url, [group, queued, local, remote, queueRow = m_task.queueRow](
                                           std::optional<qint64> size) mutable {
                const qint64 length = size.value_or(0);
                queueRow(updateRow(*local, *remote, length));
                debugPrint(queuedLine(*local, *remote, length));
                ++*queued;
                group.leave();
            });
        }
    }
    group.notify(QCoreApplication::instance(),
                 [queued, completion = std::move(completion)] { completion(*queued); });
}

void UpdatePlanner::queueMissingContent()
{
    const QStringList mids = ElementUpdateService::getMissingMidsByQnk();
    for (const QString &mid : mids) {
        const ElementPtr record = remote(mid);
        if (record && hasVersion(*record) && !m_task.stop.stop_requested())
            m_task.queueRow(contentRow(*record));
    }
}

QList<UpdatePlanner::Cover> UpdatePlanner::missingCovers() const
{
    QList<Cover> covers;
    const QStringList mids = ElementUpdateService::getMissingFiles(FileType::png);
    for (const QString &mid : mids) {
        for (auto i = m_firstOfMid.value(mid, none); i != none; i = m_nextOfMid.at(i)) {
            const ElementPtr &record = m_task.remoteMedias.at(i);
            const auto address =
                coverAddress(QString::number(record->publisherId), record->mid, record->id);
            if (const auto encoded = address ? percentEncodedForQuery(*address) : std::nullopt)
                covers.append({*encoded, URLFactory::fileName(record->id, FileType::png)});
        }
    }
    return covers;
}

void UpdatePlanner::downloadMissingCovers(std::function<void()> done)
{
    downloadCovers(std::make_shared<QList<Cover>>(missingCovers()), std::move(done));
}

void UpdatePlanner::downloadCovers(const std::shared_ptr<QList<Cover>> &covers,
                                   std::function<void()> done)
{
    std::optional<QUrl> url;
    Cover cover;
    while (!url && !covers->isEmpty()) {
        cover = covers->takeFirst();
        url = makeURL(cover.address);
    }
    if (!url || m_task.stop.stop_requested()) {
        done();
        return;
    }
    URLRequest request;
    request.url = *url;
    sharedSession().dataTask(request, [self = shared_from_this(), covers, cover,
                                       done = std::move(done)](const DataTaskResult &result) {
        if (!result.isSuccess())
            print(u"No cover: "_s + result.failure());
        else if (!result.data.isEmpty())
            self->storeCover(cover, result.data);
        self->downloadCovers(covers, done);
    });
}

/// What is no picture never becomes a cover.
void UpdatePlanner::storeCover(const Cover &cover, const QByteArray &picture) const
{
    if (!pictureSize(picture)) {
        print(u"No picture at "_s + cover.address);
        return;
    }
    const std::optional<QUrl> folder = URLFactory::getBookURL();
    if (!folder || m_task.stop.stop_requested())
        return;
    const QString path = URLFactory::fileURL(*folder, cover.fileName).path(QUrl::FullyDecoded);
    const FileResult written = FileManager::write(path, picture, FileManager::WriteMode::Atomic);
    if (!written)
        print(written.error);
}

void UpdatePlanner::restoreMissingTextFiles()
{
    const QStringList mids = ElementUpdateService::getMissingFiles(FileType::txt);
    for (const QString &mid : mids) {
        if (m_task.stop.stop_requested() || !URLFactory::getBookURL())
            return;
        const ElementPtr record = remote(mid);
        if (!record) {
            debugPrint(noMatchLine(mid));
            return;
        }
        if (hasVersion(*record))
            ElementUpdateService::writeMetadata(*record);
    }
}
