#pragma once

#include "download/KeptDownloads.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

class DownloadWindowController;
class LibraryReloading;
class PenPlaces;
class UpdateRun;

/// Runs one update of the pen against the servers at a time. Main thread only.
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
    [[nodiscard]] bool isRunning() const;

Q_SIGNALS:
    /// A run has come to its end, whichever.
    void runEnded();

private:
    void beginRun(const PenPlaces &pen);
    void titlesDeleted(const QStringList &elementIds);
    void forgetPen();
    void finishRun();

    KeptDownloads m_kept;
    const std::unique_ptr<DownloadWindowController> m_downloadWindowController;
    LibraryReloading &m_viewController;
    std::unique_ptr<UpdateRun> m_run; ///< the last one, ended or not
    bool m_runRequested = false;      ///< another one, when that has ended
    bool m_isPenReleased = false;
    std::stop_source m_penGone; ///< of the pen that is there, for what outlives a run
};
