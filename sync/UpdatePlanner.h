#pragma once

#include "library/BaseElement.h"
#include "library/DownloadQueue.h"
#include "pen/PenPlaces.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <stop_token>

class PenTitles;

/// What planning works on: its own copies, and the ways out of its thread.
struct PlanningTask
{
    PenPlaces pen;
    ElementList localMedias = {}; ///< with plain MIDs
    ElementList remoteMedias = {};
    QStringList askedAnew = {}; ///< identifiers of titles to be loaded whatever their version
    std::stop_token stop = {};  ///< once requested nothing is written or queued any more
    /// Takes a row for the queue. Called on any thread.
    std::function<void(const UpdateElement &row)> queueRow = {};
    /// Told of a title whose cover has come. Called on the shared session's thread.
    std::function<void(const QString &elementId)> coverCame = {};
};

/// Decides what the pen lacks or holds in an old version. Runs on the shared session's thread, in
/// time that grows linearly with the titles.
class UpdatePlanner : public std::enable_shared_from_this<UpdatePlanner>
{
public:
    explicit UpdatePlanner(PlanningTask task);

    /// All steps in order; `finished` runs after the last, unless planning was stopped. Missing
    /// covers come afterwards, on the shared session's thread, until `stop` is requested.
    void run(std::function<void()> finished);

    /// Compares every pen title with its remote record: queues the outdated, refreshes the metadata
    /// files of the others, leaves alone what the server told no version of.
    void checkLocalMedias();

private:
    struct Cover
    {
        QUrl url;
        QString id; ///< of the title on the pen
    };

    /// The record of a pen title: of that identifier, or else the first of that MID that is not
    /// another title on the pen.
    [[nodiscard]] ElementPtr remote(const QString &mid, const QString &id) const;
    void refreshMetadata(const BaseElement &local, const BaseElement &remote) const;
    void queueMissingContent(const PenTitles &pen);
    void queueContent(const QStringList &ids);
    [[nodiscard]] QList<Cover> missingCovers(const PenTitles &pen) const;
    void downloadMissingCovers(const PenTitles &pen);
    void downloadNextCover();
    void storeCover(const Cover &cover, const QByteArray &picture) const;
    /// Writes the metadata files that are missing on the pen, up to the first unknown title.
    void restoreMissingTextFiles(const PenTitles &pen);

    PlanningTask m_task;
    static constexpr qsizetype none = -1;
    QSet<QString> m_idsOnPen;
    QHash<QString, qsizetype> m_firstOfMid; ///< in the remote medias
    QList<qsizetype> m_nextOfMid;           ///< for each of them the next one with its MID, or none
    QList<Cover> m_covers;                  ///< still to be asked for; the session's thread only
};
