#pragma once

#include "download/DownloadQueue.h"
#include "library/BaseElement.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

/// What planning works on: its own copies, and the ways out of its thread.
struct PlanningTask
{
    ElementList localMedias; ///< with plain MIDs
    ElementList remoteMedias;
    std::stop_token stop; ///< once requested nothing is written or queued any more
    /// Asks for the size of an address; absent when it is none.
    std::function<void(const QString &address, std::function<void(std::optional<qint64>)>)> sizeOf;
    /// Takes a row for the queue. Called on any thread.
    std::function<void(const UpdateElement &row)> queueRow;
};

/// Decides what the pen lacks or holds in an old version. Runs on the shared session's thread, in
/// time that grows linearly with the titles.
class UpdatePlanner : public std::enable_shared_from_this<UpdatePlanner>
{
public:
    explicit UpdatePlanner(PlanningTask task);

    /// All steps in order; `finished` runs after the last, unless planning was stopped.
    void run(std::function<void()> finished);

    /// Compares every pen title with its remote record: queues the outdated, refreshes the metadata
    /// files of the others. `completion` gets the number of rows queued, on the main thread.
    void checkLocalMedias(std::function<void(int rows)> completion);

    /// Queues content rows for titles with a metadata file and without content.
    void queueMissingContent();

    /// Fetches the covers that are missing on the pen one after another. `done` runs after the
    /// last, on the shared session's thread when there was one.
    void downloadMissingCovers(std::function<void()> done);

    /// Writes the metadata files that are missing on the pen, up to the first unknown title.
    void restoreMissingTextFiles();

private:
    struct Cover
    {
        QString address;
        QString fileName;
    };

    [[nodiscard]] ElementPtr remote(const QString &mid) const;
    [[nodiscard]] QList<Cover> missingCovers() const;
    void downloadCovers(const std::shared_ptr<QList<Cover>> &covers, std::function<void()> done);
    void storeCover(const Cover &cover, const QByteArray &picture) const;

    PlanningTask m_task;
    static constexpr qsizetype none = -1;
    QHash<QString, qsizetype> m_firstOfMid; ///< in the remote medias
    QList<qsizetype> m_nextOfMid;           ///< for each of them the next one with its MID, or none
};
