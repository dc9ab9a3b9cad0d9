#pragma once

#include "download/KeptDownloads.h"
#include "library/DownloadQueue.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class DispatchGroup;
class DownloadFileService;
class DownloadWindowController;
class LibraryReloading;
class RowLoader;
struct PlanningTask;

/// Runs one update of the pen against the servers at a time. Main thread only; planning works on
/// the shared session's thread with copies of its own.
class UpdateService : public QObject
{
    Q_OBJECT

public:
    /// `viewController` must outlive the service.
    explicit UpdateService(LibraryReloading &viewController, QObject *parent = nullptr);
    ~UpdateService() override;

    /// One update run. While another one is planning or downloading, the wish is remembered and
    /// fulfilled when that one has ended.
    void updateAll();

    /// The pen went away: a run under way ends without writing, and its window says so.
    void penRemoved();

    /// Stops a run under way and begins none before keepPen(); `done` runs on the main thread once
    /// nothing of a run is open on the pen.
    void releasePen(std::function<void()> done);
    /// The pen stays, or another one may come.
    void keepPen() { m_isPenReleased = false; }

    /// System software is loaded before titles, unless its servers make them wait longer than this.
    std::chrono::milliseconds softwarePatience = std::chrono::seconds(3);

    [[nodiscard]] DownloadWindowController &downloadWindowController();
    [[nodiscard]] bool isRunning() const { return m_state != State::Idle; }

Q_SIGNALS:
    /// A run has come to its end, whichever.
    void runEnded();

private:
    enum class State { Idle, Planning, Downloading };

    void prepareRun();
    void startSoftwareCheck();
    void softwareChecked(bool needed);
    void readLocalMedias();
    void fetchCatalogue();
    [[nodiscard]] PlanningTask planningTask();
    void planned(const QString &result);
    /// Goes on from planning to loading.
    void startDownloads(const QString &result);
    void showDownloadWindow();
    void triggerElementDownloads();
    void sizeRows(qsizetype first);
    void sizeRow(qsizetype index, DispatchGroup group);
    void queueRow(const UpdateElement &row);
    void showCover(const QString &elementId);
    void titlesDeleted(const QStringList &elementIds);
    void rowsEnded();
    /// Starts rows that came after the run had gone through all others; false when there are none.
    bool startLateRows();
    void forgetPen();
    void finishRun();

    KeptDownloads m_kept;
    std::unique_ptr<DownloadFileService> m_downloadFileService;
    std::unique_ptr<RowLoader> m_rowLoader; ///< of the service before it
    std::unique_ptr<DownloadWindowController> m_downloadWindowController;
    LibraryReloading &m_viewController;
    ElementList m_localMediasArray;
    bool m_needsSoftwareUpdate = false;
    bool m_softwareIsChecked = false;

    State m_state = State::Idle;
    bool m_runRequested = false;
    bool m_isPenReleased = false;
    QSet<QString> m_queuedContents;     ///< what the run under way has queued already
    QSet<QString> m_deletedTitles;      ///< since it began
    QList<UpdateElement> m_plannedRows; ///< until the software's rows stand before them
    QTimer m_coversSettle;
    QTimer m_softwareWait;      ///< how long planned rows wait for them
    std::stop_source m_stop;    ///< of the run under way
    std::stop_source m_penGone; ///< of the pen that is there, for what outlives a run
};
