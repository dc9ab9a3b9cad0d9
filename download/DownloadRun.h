#pragma once

#include "download/DownloadPresentation.h"
#include "platform/FileFailure.h"

#include <QObject>
#include <QTimer>

class RowLoading;
struct UpdateElement;

/// Where a run is, or how it has ended.
enum class RunPhase {
    Planning,         ///< the servers are asked what the pen lacks
    AwaitingSoftware, ///< planned; the rows of the system software may still come
    Loading,
    Complete,
    NoAnswer, ///< of the media server
    DidNotFit,
    SomeFailed,
    CopyFailed, ///< a file could not be placed
    PenRemoved,
    Stopped
};

[[nodiscard]] constexpr bool hasEnded(RunPhase phase)
{
    return phase >= RunPhase::Complete;
}

/// Ended by the person, the pen or a file that could not be placed: rows that wait stay so.
[[nodiscard]] constexpr bool isStopped(RunPhase phase)
{
    return phase >= RunPhase::CopyFailed;
}

/// One run of the queue as its window tells it: where it is, how far it has come and what went
/// wrong. Made for a run and gone with it. Main thread only.
class DownloadRun : public QObject
{
    Q_OBJECT

public:
    /// `rows` may be null; it must outlive the run otherwise.
    explicit DownloadRun(RowLoading *rows = nullptr);

    [[nodiscard]] RunPhase phase() const { return m_phase; }
    void enter(RunPhase phase);
    /// Also stops what moves the copy percentage.
    void end(RunPhase phase);
    /// All that is not ready is before it. The bar starts at what is.
    void beginLoading();

    /// Has the row loaded.
    void load(const UpdateElement &row);
    void cancelLoading();

    void setDownloadPercentage(double percentage);
    /// Fills the row's share of the copy percentage over the time that placing should take.
    void startCopyTimer(int row);
    /// A row leaves the run; its share of the bar counts as done.
    void addDroppedRow();

    /// There was no row of that index.
    void tellWrongRow();
    /// The media server did not answer. While rows are being loaded it is told at the end.
    void tellNoAnswer();
    void setCopyFailure(const FileFailure &failure) { m_copyFailure = failure; }
    /// Told at the end, with what all of them together need.
    void addMisfit(const FileFailure &failure);
    /// The pen went away after a file could not be placed: that was why.
    void explainFailedCopy();
    /// How the run ends now that no row is open any more.
    [[nodiscard]] RunPhase phaseOfEnd() const;

    [[nodiscard]] const DownloadPresentation &presentation() const { return m_presentation; }
    void updateTexts();

    int indexToDownload = 0;

Q_SIGNALS:
    void presentationChanged();

private:
    /// What the window tells although the run goes on.
    enum class Notice { None, NoAnswer, WrongRow };

    void copyTick(int row, int rows);
    void progressed();
    void tell(Notice notice);
    void refresh();
    [[nodiscard]] DownloadPresentation present() const;
    [[nodiscard]] bool isOkEnabled() const;
    [[nodiscard]] QString headline() const;
    [[nodiscard]] QString headlineOfPhase() const;

    RowLoading *const m_rows;
    RunPhase m_phase = RunPhase::Planning;
    Notice m_notice = Notice::None;
    bool m_isAnswerMissing = false;
    double m_readyShare = 0; ///< of the rows, in percent, when their loading began
    double m_downloadPercentage = 0;
    double m_copyPercentage = 0;
    double m_copyStep = 0; ///< 0 before the first row is placed
    QTimer m_copyPercentageTimer;
    FileFailure m_copyFailure;
    FileFailure m_misfit; ///< of all files that did not fit
    DownloadPresentation m_presentation;
};
