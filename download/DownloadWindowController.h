#pragma once

#include "download/DownloadPresentation.h"
#include "download/QueueWindow.h"
#include "platform/FileFailure.h"

#include <QObject>
#include <QSet>
#include <QTimer>
#include <QVariantMap>

class LibraryReloading;
class RowLoading;
struct UpdateElement;

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

    /// Who loads the rows of the coming run.
    void setRowLoading(RowLoading *loading) { m_rowLoading = loading; }
    void setViewController(LibraryReloading *viewController);

    /// True while the window drives a queue run.
    [[nodiscard]] bool isWorking() const { return m_isWorking; }

    /// True once the run was stopped by the person, the pen or a file that could not be placed:
    /// rows that wait are not started before the next run.
    [[nodiscard]] bool isStopped() const { return m_stopped; }

    [[nodiscard]] int indexToDownload() const override { return m_indexToDownload; }
    void setIndexToDownload(int index) override { m_indexToDownload = index; }
    void reloadQueueTable() override;
    void copyStarted(int index) override;
    void copyFailed(const FileFailure &failure) override;
    void fileDidNotFit(const FileFailure &failure) override;

    /// Index back to 0, both percentages to what is ready, copy timer stopped, display refreshed.
    void resetProgress();
    /// Ready for a new run: as resetProgress(), and not working, not stopped, no notice.
    void prepareForRun();
    /// Queues "DownloadComplete" on the main queue; nobody hears it once the next run has begun.
    void postDownloadComplete();
    /// The pen went away during a run: transfers are cancelled and the window says so.
    void penRemoved();
    /// The pen is to be ejected during a run: transfers are cancelled, the run counts as stopped.
    void penWillGo();
    /// The pen has gone after a run that ended because a file could not be placed: the same.
    void explainFailedCopy();

    /// Asks for the window to be shown, centred and above the main window.
    void showWindow();
    /// Texts anew in the current language.
    void updateTexts();

    // Actions of the window.
    void cancelBtnKlicked();
    void okBtnKlicked();
    void onItemClicked(int row, int column);

    [[nodiscard]] const DownloadPresentation &presentation() const { return m_presentation; }
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
    /// No row of the run waits, loads or is being placed any more, or the run was stopped.
    void runEnded();

private:
    /// What the window is telling; decides headline, bar and buttons.
    enum class Phase {
        Idle,
        Running,
        Complete,
        NoAnswer,
        WrongRow,
        CopyFailed,
        DidNotFit,
        SomeFailed,
        PenRemoved,
        Stopped
    };

    void observeNotifications();
    void startElementDownloads();
    void passFinishedRows();
    void startRow(UpdateElement &row);
    void announceEnd();
    void changeProgressBar(const QVariantMap &userInfo);
    void changeToDownloadComplete();
    void showNoInternetConnection();
    void endRun(Phase phase);
    [[nodiscard]] Phase phaseOfFailedEnd() const;
    void tellRunEnded();
    [[nodiscard]] bool gotNothing() const;
    void stopTransfers();
    void interrupt(Phase phase);
    void dropRow(UpdateElement &row);
    void dropTitles(const QSet<QString> &elementIds);

    void startCopyTimer(int index);
    void copyTick(int index, int rows);
    void setDownloadPercentage(double percentage);
    void setCopyPercentage(double percentage);
    void enter(Phase phase);
    [[nodiscard]] QString headline() const;
    [[nodiscard]] DownloadPresentation presentationFor(Phase phase) const;

    bool m_isWorking = false;
    bool m_stopped = false;
    bool m_runHasEnded = true;
    bool m_noAnswer = false; ///< the media server did not answer in this run
    bool m_noAnswerIsUntold = false;
    int m_run = 0;
    qsizetype m_readyBefore = 0; ///< rows of earlier runs that are still shown
    bool m_copiedBefore = false; ///< an earlier row of this run has had its copy timer
    int m_indexToDownload = 0;
    double m_downloadPercentage = 0;
    double m_copyPercentage = 0;
    double m_copyStep = 0;
    QTimer m_copyPercentageTimer;
    Phase m_phase = Phase::Idle;
    FileFailure m_copyFailure;
    FileFailure m_misfit;    ///< of all files of this run that did not fit
    double m_readyShare = 0; ///< of the rows, in percent, when their loading began
    DownloadPresentation m_presentation;

    RowLoading *m_rowLoading = nullptr;
    LibraryReloading *m_viewController = nullptr;
};
