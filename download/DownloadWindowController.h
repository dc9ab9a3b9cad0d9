#pragma once

#include "download/DownloadRun.h"
#include "download/QueueWindow.h"

#include <QObject>
#include <QSet>
#include <QVariantMap>

#include <memory>

class LibraryReloading;

/// Drives the download queue row by row and works out what its window shows; the window itself
/// (DownloadWindow) only shows it. Main thread only.
///
/// Hears "DownloadPercentage", "DownloadComplete", "startElementDownloads" and
/// "noResponseFromServer" on the default notification centre for as long as it lives.
class DownloadWindowController : public QObject, public QueueWindow
{
    Q_OBJECT

public:
    static constexpr int cancelColumn = 3;

    explicit DownloadWindowController(QObject *parent = nullptr);

    void setViewController(LibraryReloading *viewController);

    /// A new run takes the place of the last; its rows are loaded by `rows`, which must outlive it
    /// and may be null.
    void beginRun(RowLoading *rows);
    [[nodiscard]] RunPhase phase() const { return m_run->phase(); }
    void enter(RunPhase phase) { m_run->enter(phase); }
    /// True while the window drives a queue run.
    [[nodiscard]] bool isWorking() const { return phase() == RunPhase::Loading; }

    [[nodiscard]] int indexToDownload() const override { return m_run->indexToDownload; }
    void setIndexToDownload(int index) override { m_run->indexToDownload = index; }
    void reloadQueueTable() override;
    void copyStarted(int index) override;
    void copyFailed(const FileFailure &failure) override;
    void fileDidNotFit(const FileFailure &failure) override;

    /// Index back to 0, both percentages to what is ready; the run's rows are loaded from now on.
    void resetProgress() { m_run->beginLoading(); }
    /// Queues "DownloadComplete" on the main queue; nobody hears it once the next run has begun.
    void postDownloadComplete();
    /// Ends a run under way: PenRemoved when the pen went away, Stopped when it is to be ejected.
    void interrupt(RunPhase phase);
    /// The pen has gone after a run that ended because a file could not be placed.
    void explainFailedCopy() { m_run->explainFailedCopy(); }

    /// Asks for the window to be shown, centred and above the main window.
    void showWindow();
    /// Texts anew in the current language.
    void updateTexts();

    // Actions of the window.
    void cancelBtnKlicked();
    void okBtnKlicked();
    void onItemClicked(int row, int column);

    [[nodiscard]] const DownloadPresentation &presentation() const { return m_run->presentation(); }
    /// Whether the row can still be dropped, that is shows a cross.
    [[nodiscard]] static bool canBeDropped(const UpdateElement &row);

Q_SIGNALS:
    void presentationChanged();
    /// The rows of updateElements() or their states changed.
    void queueChanged();
    void showRequested();
    void closeRequested();
    /// The person has dropped a row: the title is not wanted.
    void titleDropped(const QString &mid);
    /// All rows are ready or cancelled: time for the sound.
    void completed();
    /// The run was stopped, under way or ended: nothing of it is wanted any more.
    void stopped();
    /// A run under way has ended: no row waits, loads or is being placed any more, or it was
    /// stopped. Rows that come later have the run go on.
    void runEnded();

private:
    void observeNotifications();
    void startElementDownloads();
    void passFinishedRows();
    void startRow(UpdateElement &row);
    void announceEnd();
    void changeProgressBar(const QVariantMap &userInfo);
    void changeToDownloadComplete();
    void showNoInternetConnection();
    void endRun(RunPhase phase);
    void reloadLibrary();
    void dropRow(UpdateElement &row);
    void dropTitles(const QSet<QString> &elementIds);

    std::unique_ptr<DownloadRun> m_run; ///< the last one, ended or not
    LibraryReloading *m_viewController = nullptr;
};
