#include "download/DownloadRun.h"

#include "base/Localization.h"
#include "download/RowLoading.h"
#include "library/DownloadQueue.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto copyTickInterval = 100ms;
constexpr double copyTicksPerSecond = 10;
constexpr double assumedCopySpeed = 2'000'000; // bytes per second

QueueCounts countRows(int index)
{
    QueueCounts counts;
    counts.index = index;
    for (const UpdateElement &row : std::as_const(updateElements())) {
        counts.systemSoftware += isSystemSoftware(row) ? 1 : 0;
        counts.medias += row.updateFileType == UpdateFileType::qnk ? 1 : 0;
    }
    return counts;
}

/// The share of the rows placed once row `index` is, in percent.
double copyTarget(int index, int rows)
{
    return (index + 1) * 100.0 / std::max(1, rows);
}

} // namespace

DownloadRun::DownloadRun(RowLoading *rows)
    : m_rows(rows)
{
    m_copyPercentageTimer.setInterval(copyTickInterval);
    refresh();
}

void DownloadRun::enter(RunPhase phase)
{
    m_phase = phase;
    if (phase != RunPhase::AwaitingSoftware) // which is still the same to the person
        m_notice = Notice::None;
    refresh();
}

void DownloadRun::end(RunPhase phase)
{
    m_copyPercentageTimer.stop();
    enter(phase);
}

void DownloadRun::beginLoading()
{
    m_phase = RunPhase::Loading;
    m_copyPercentageTimer.stop();
    indexToDownload = 0;
    m_readyShare = copyTarget(static_cast<int>(readyRows()) - 1, rowsNotCanceled());
    m_downloadPercentage = m_copyPercentage = m_readyShare;
    progressed();
}

void DownloadRun::load(const UpdateElement &row)
{
    m_notice = Notice::None; // whatever was told before, the pen is to stay where it is
    m_presentation = present();
    m_presentation.cancelEnabled = !isSystemSoftware(row);
    Q_EMIT presentationChanged();
    if (m_rows)
        m_rows->loadRow(UpdateElement(row)); // the queue may move meanwhile
}

void DownloadRun::cancelLoading()
{
    if (m_rows)
        m_rows->cancelAllRows();
}

void DownloadRun::setDownloadPercentage(double percentage)
{
    m_downloadPercentage = std::max(percentage, m_readyShare);
    progressed();
}

void DownloadRun::startCopyTimer(int row)
{
    const int rows = rowsNotCanceled();
    const double share = 100.0 / std::max(1, rows);
    const double ticks = static_cast<double>(updateElements().at(row).contentLength)
                         / assumedCopySpeed * copyTicksPerSecond;
    if (std::exchange(m_copyStep, ticks > 0 ? share / ticks : share) > 0) {
        m_copyPercentage = copyTarget(row - 1, rows);
        progressed();
    }
    m_copyPercentageTimer.disconnect(this);
    connect(&m_copyPercentageTimer, &QTimer::timeout, this,
            [this, row, rows] { copyTick(row, rows); });
    m_copyPercentageTimer.start();
}

void DownloadRun::copyTick(int row, int rows)
{
    const double target = copyTarget(row, rows);
    if (target > m_copyPercentage) {
        m_copyPercentage += m_copyStep;
    } else {
        m_copyPercentage = target;
        m_copyPercentageTimer.stop();
    }
    progressed();
}

void DownloadRun::addDroppedRow()
{
    m_copyPercentage += 100.0 / static_cast<double>(updateElements().size());
    progressed();
}

void DownloadRun::progressed()
{
    tell(Notice::None);
}

void DownloadRun::tellWrongRow()
{
    tell(Notice::WrongRow);
}

void DownloadRun::tellNoAnswer()
{
    m_isAnswerMissing = true;
    if (m_phase != RunPhase::Loading || !queueHasOpenRows())
        tell(Notice::NoAnswer);
}

void DownloadRun::tell(Notice notice)
{
    m_notice = notice;
    refresh();
}

void DownloadRun::addMisfit(const FileFailure &failure)
{
    const bool addsUp =
        m_misfit.reason == failure.reason && failure.reason == FileFailure::Reason::Full;
    const qint64 before = addsUp ? m_misfit.needed : 0;
    m_misfit = failure;
    m_misfit.needed += before;
}

void DownloadRun::explainFailedCopy()
{
    if (m_phase == RunPhase::CopyFailed && m_copyFailure.reason != FileFailure::Reason::ReadOnly)
        enter(RunPhase::PenRemoved);
}

/// "Complete" would hide that nothing could be asked.
RunPhase DownloadRun::phaseOfEnd() const
{
    if (!allRowsReadyOrCanceled() && m_misfit)
        return RunPhase::DidNotFit;
    if (m_isAnswerMissing)
        return RunPhase::NoAnswer;
    return allRowsReadyOrCanceled() ? RunPhase::Complete : RunPhase::SomeFailed;
}

void DownloadRun::updateTexts()
{
    const DownloadPresentation anew = present();
    m_presentation.headline = anew.headline;
    m_presentation.step = anew.step;
    Q_EMIT presentationChanged();
}

void DownloadRun::refresh()
{
    m_presentation = present();
    Q_EMIT presentationChanged();
}

DownloadPresentation DownloadRun::present() const
{
    const bool isComplete = m_phase == RunPhase::Complete;
    const double shown = isComplete ? 100.0 : shownProgress(m_downloadPercentage, m_copyPercentage);
    DownloadPresentation presentation;
    presentation.headline = headline();
    presentation.step = LanguageService::percentText(QString::number(static_cast<int>(shown)));
    presentation.bar = shown;
    presentation.image = isComplete ? u"quillo-fortschritt-laden_100"_s : progressImageName(shown);
    presentation.okEnabled = isOkEnabled();
    presentation.cancelEnabled = !presentation.okEnabled;
    return presentation;
}

bool DownloadRun::isOkEnabled() const
{
    return m_notice == Notice::NoAnswer || m_phase == RunPhase::Complete
           || m_phase == RunPhase::NoAnswer || m_phase == RunPhase::PenRemoved;
}

QString DownloadRun::headline() const
{
    switch (m_notice) {
    case Notice::NoAnswer:
        return localized(u"label_no_response_from_server"_s);
    case Notice::WrongRow:
        return localized(u"download_window_error"_s);
    case Notice::None:
        return headlineOfPhase();
    }
    Q_UNREACHABLE();
}

QString DownloadRun::headlineOfPhase() const
{
    switch (m_phase) {
    case RunPhase::Planning:
    case RunPhase::AwaitingSoftware:
        return localized(u"label_downloading"_s);
    case RunPhase::Loading:
        return downloadHeadline(countRows(indexToDownload));
    case RunPhase::Complete:
        return localized(u"label_download_complete"_s);
    case RunPhase::NoAnswer:
        return localized(u"label_no_response_from_server"_s);
    case RunPhase::DidNotFit:
        return storingHeadline(m_misfit);
    case RunPhase::SomeFailed:
        return localized(u"label_some_failed"_s);
    case RunPhase::CopyFailed:
        return storingHeadline(m_copyFailure);
    case RunPhase::PenRemoved:
        return localized(u"label_pen_removed"_s);
    case RunPhase::Stopped:
        return localized(u"label_stopped"_s);
    }
    Q_UNREACHABLE();
}
