#include "download/DownloadWindow.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "download/DownloadWindowController.h"
#include "download/LibraryReloading.h"
#include "library/CoverCache.h"
#include "library/DownloadQueue.h"
#include "platform/SoundPlayer.h"
#include "tests/support/Printers.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMetaProperty>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <functional>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class RecordedSounds : public SoundPlayer
{
public:
    void play(const QString &name) override { played.append(name); }

    QStringList played;
};

/// Reloads of the library that the window's buttons ask for.
class Reloads : public LibraryReloading
{
public:
    void loadData() override { calls.append(u"loadData"_s); }
    void showBooksView() override { calls.append(u"showBooksView"_s); }

    QStringList calls;
};

UpdateElement row(const QString &title, DownloadType state,
                  UpdateFileType kind = UpdateFileType::qnk)
{
    UpdateElement element;
    element.title = title;
    element.downloadType = state;
    element.updateFileType = kind;
    return element;
}

class DownloadWindowTest : public testing::Test
{
protected:
    DownloadWindowTest()
    {
        setCurrentLanguage(u"de"_s);
        controller.setViewController(&reloads);
    }
    ~DownloadWindowTest() override
    {
        updateElements().clear();
        setCurrentLanguage(u"de"_s);
    }

    void fill(const QList<UpdateElement> &rows)
    {
        updateElements() = rows;
        controller.reloadQueueTable();
    }

    void show()
    {
        controller.showWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    [[nodiscard]] QVariant cell(int row, int column, int role = Qt::DisplayRole) const
    {
        const QAbstractItemModel &model = *window.tableView->model();
        return model.data(model.index(row, column), role);
    }

    [[nodiscard]] bool hasCross(int row) const
    {
        return !cell(row, 3, Qt::DecorationRole).value<QIcon>().isNull();
    }

    void click(int row, int column)
    {
        const QModelIndex index = window.tableView->model()->index(row, column);
        QTest::mouseClick(window.tableView->viewport(), Qt::LeftButton, {},
                          window.tableView->visualRect(index).center());
    }

    /// As the title bar's X does.
    void closeByTitleBar()
    {
        QCloseEvent event;
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(&window, &event); // sendEvent() would clear the mark
    }

    /// All that is to be read in it or read out to people, and the room for the states.
    [[nodiscard]] static QStringList textsOf(DownloadWindow &shown)
    {
        QStringList texts{QString::number(shown.tableView->columnWidth(2))};
        const QWidgetList widgets = shown.findChildren<QWidget *>() << &shown;
        for (const QWidget *widget : widgets) {
            for (int i = 0; i < widget->metaObject()->propertyCount(); ++i) {
                const QMetaProperty property = widget->metaObject()->property(i);
                if (property.typeId() == QMetaType::QString)
                    texts += property.read(widget).toString();
            }
        }
        const QAbstractItemModel &rows = *shown.tableView->model();
        for (const int role : {Qt::DisplayRole, Qt::ToolTipRole, Qt::AccessibleTextRole}) {
            for (int column = 0; column < rows.columnCount(); ++column) {
                texts += rows.headerData(column, Qt::Horizontal, role).toString();
                for (int row = 0; row < rows.rowCount(); ++row)
                    texts += rows.index(row, column).data(role).toString();
            }
        }
        texts.sort(); // widgets are raised as it takes them
        return texts;
    }

    void complete()
    {
        controller.beginRun(nullptr);
        QSignalSpy completed(&controller, &DownloadWindowController::completed);
        controller.postDownloadComplete();
        ASSERT_TRUE(completed.wait());
    }

    CoverCache covers;
    RecordedSounds sounds;
    Reloads reloads;
    DownloadWindowController controller;
    DownloadWindow window{controller, covers, sounds};
};

TEST_F(DownloadWindowTest, StartsIdleAndHiddenShowsCoversTintsAndNamesAndClosesWhenAsked)
{
    EXPECT_FALSE(window.isVisible() || window.OKBtn->isEnabled());
    EXPECT_TRUE(window.cancelBtn->isEnabled());
    EXPECT_EQ(window.progressImage->imageName(), u"quillo-fortschritt-laden_0"_s);
    UpdateElement covered = row(u"Der Löwe"_s, DownloadType::Waiting);
    covered.image = dummyCover();
    fill({row(u"a"_s, DownloadType::Waiting), covered});
    show();
    EXPECT_TRUE(window.screen()->availableGeometry().contains(window.frameGeometry()));
    EXPECT_EQ(window.tableView->rowHeight(0), 32);
    EXPECT_FALSE(cell(0, 1, Qt::BackgroundRole).isValid());
    EXPECT_EQ(cell(1, 1, Qt::BackgroundRole).value<QColor>(), ColorConstants::lightCGColor());
    EXPECT_FALSE(cell(0, 0, Qt::DecorationRole).isValid());
    const auto cover = cell(1, 0, Qt::DecorationRole).value<QPixmap>();
    EXPECT_TRUE(!cover.isNull() && cover.height() <= 32);
    EXPECT_TRUE(cell(1, 3, Qt::AccessibleTextRole).toString().contains(u"Der Löwe"_s));
    Q_EMIT controller.closeRequested();
    EXPECT_FALSE(window.isVisible());
}

TEST_F(DownloadWindowTest, StatesAreWordsWithACrossOnlyWhileWaiting)
{
    for (const auto &[state, key] : {std::pair(DownloadType::Ready, u"cell_ready"_s),
                                     {DownloadType::UpToDate, u"cell_unknown"_s},
                                     {DownloadType::Canceled, u"cell_canceled"_s},
                                     {DownloadType::Downloading, u"cell_in_progress"_s},
                                     {DownloadType::Copying, u"cell_copying"_s},
                                     {DownloadType::Waiting, u"cell_waiting"_s},
                                     {DownloadType::Failed, u"cell_failed"_s}}) {
        fill({row(u"Titel"_s, state), row(u"System"_s, state, UpdateFileType::iso)});
        EXPECT_EQ(cell(0, 2).toString(), localized(key));
        EXPECT_EQ(hasCross(0), state == DownloadType::Waiting) << qPrintable(key);
        EXPECT_FALSE(hasCross(1));
    }
}

TEST_F(DownloadWindowTest, ClickInTheCancelColumnAndKeysDropTheRowAndTabLeavesTheTable)
{
    fill({row(u"a"_s, DownloadType::Waiting), row(u"b"_s, DownloadType::Waiting),
          row(u"c"_s, DownloadType::Waiting), row(u"d"_s, DownloadType::Waiting)});
    show();
    const auto state = [](int row) {
        return updateElements().at(row).downloadType;
    };
    click(1, 1);
    EXPECT_EQ(state(1), DownloadType::Waiting);
    click(1, 3);
    EXPECT_EQ(state(1), DownloadType::Canceled);
    EXPECT_EQ(cell(1, 2).toString(), localized(u"cell_canceled"_s));
    EXPECT_FALSE(hasCross(1));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    window.tableView->setFocus();
    for (const auto &[row, key] : {std::pair{2, Qt::Key_Delete}, std::pair{3, Qt::Key_Space}}) {
        window.tableView->selectRow(row);
        QTest::keyClick(window.tableView, key);
        EXPECT_EQ(state(row), DownloadType::Canceled);
    }
    EXPECT_EQ(state(0), DownloadType::Waiting);
    QTest::keyClick(window.tableView, Qt::Key_Tab);
    EXPECT_TRUE(window.cancelBtn->hasFocus());
}

TEST_F(DownloadWindowTest, ShowsTenthsOfAPercentAndCompletionFillsThePenAndSounds)
{
    fill({row(u"a"_s, DownloadType::Ready)});
    // 0.6 x 12.5 = 7.5
    QueueWindow::postDownloadPercentage(12.5);
    ASSERT_TRUE(QTest::qWaitFor([this] { return window.progressBar->value() != 0; }));
    EXPECT_EQ(window.progressBar->value(), 75);
    EXPECT_EQ(window.progressBar->maximum(), 1000);
    EXPECT_EQ(window.stepLabel->text(), u"7 %"_s);
    EXPECT_FALSE(window.OKBtn->isEnabled());
    EXPECT_TRUE(window.cancelBtn->isEnabled());
    complete();
    EXPECT_TRUE(window.OKBtn->isEnabled());
    EXPECT_FALSE(window.cancelBtn->isEnabled());
    EXPECT_EQ(window.progressBar->value(), window.progressBar->maximum());
    EXPECT_EQ(window.stepLabel->text(), u"100 %"_s);
    setCurrentLanguage(u"en"_s);
    window.updateTexts();
    EXPECT_EQ(window.stepLabel->text(), u"100%"_s);
    EXPECT_EQ(window.progressImage->imageName(), u"quillo-fortschritt-laden_100"_s);
    EXPECT_EQ(sounds.played, QStringList{u"Done"_s});
}

TEST_F(DownloadWindowTest, OKTitleBarAndEscapeReloadEmptyAndHideWhenAllIsDone)
{
    const std::initializer_list<std::function<void()>> ways{
        [this] { QTest::mouseClick(window.OKBtn, Qt::LeftButton); }, [this] { closeByTitleBar(); },
        [this] {
            QTest::keyClick(&window, Qt::Key_Escape);
        }};
    for (const auto &end : ways) {
        reloads.calls.clear();
        fill({row(u"a"_s, DownloadType::Ready)});
        show();
        complete();
        end();
        EXPECT_FALSE(window.isVisible());
        EXPECT_TRUE(updateElements().isEmpty());
        EXPECT_EQ(window.tableView->model()->rowCount(), 0);
        EXPECT_EQ(reloads.calls, (QStringList{u"loadData"_s, u"showBooksView"_s}));
    }
}

TEST_F(DownloadWindowTest, TitleBarIsIgnoredWhileSystemSoftwareLoadsAndElseCancelsARun)
{
    fill({row(u"System"_s, DownloadType::Waiting, UpdateFileType::iso)});
    show();
    QueueWindow::postStartElementDownloads();
    ASSERT_FALSE(window.cancelBtn->isEnabled() || window.OKBtn->isEnabled());
    closeByTitleBar();
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_TRUE(window.isVisible());
    fill({row(u"a"_s, DownloadType::Downloading)});
    controller.beginRun(nullptr);
    closeByTitleBar();
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(updateElements().size(), 1) << "only OK empties the queue";
    EXPECT_TRUE(reloads.calls.isEmpty()) << "the reload follows the closing";
    EXPECT_TRUE(QTest::qWaitFor([this] { return reloads.calls.size() == 2; }));
}

TEST_F(DownloadWindowTest, ReloadsAndLanguagesReachEveryTextAndMoveNothing)
{
    QList<UpdateElement> rows{row(u"System"_s, DownloadType::Waiting, UpdateFileType::iso)};
    while (rows.size() < 100)
        rows.append(row(u"Titel"_s, static_cast<DownloadType>(rows.size() % 7)));
    fill(rows);
    show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTableView &table = *window.tableView;
    table.setFocus();
    table.selectRow(50);
    table.scrollTo(table.currentIndex());
    const auto place = [&table] {
        return std::tuple(table.verticalScrollBar()->value(), table.currentIndex().row(),
                          table.selectionModel()->isRowSelected(50), table.hasFocus());
    };
    const auto before = place();
    ASSERT_TRUE(std::get<0>(before) > 0 && table.hasFocus());
    updateElements()[1].downloadType = DownloadType::Ready;
    updateElements().append(row(u"late"_s, DownloadType::Waiting));
    controller.reloadQueueTable();
    EXPECT_EQ(table.model()->rowCount(), 101);
    EXPECT_EQ(cell(1, 2).toString(), localized(u"cell_ready"_s));
    EXPECT_EQ(place(), before);

    controller.fileDidNotFit({.reason = FileFailure::Reason::Full, .needed = 1'500'000});
    QueueWindow::postStartElementDownloads();
    for (const auto &[language, phase] : {std::pair(u"en"_s, RunPhase::Loading),
                                          {u"de"_s, RunPhase::Loading},
                                          {u"en"_s, RunPhase::DidNotFit}}) {
        if (controller.phase() != phase)
            controller.enter(phase);
        const bool isCancelEnabled = window.cancelBtn->isEnabled();
        QSignalSpy cells(table.model(), &QAbstractItemModel::dataChanged);
        QSignalSpy titles(table.model(), &QAbstractItemModel::headerDataChanged);
        setCurrentLanguage(language);
        window.updateTexts();
        const QStringList texts = textsOf(window);
        EXPECT_TRUE(!cells.isEmpty() && !titles.isEmpty());
        DownloadWindow anew(controller, covers, sounds);
        EXPECT_EQ(texts, textsOf(anew));
        EXPECT_TRUE(texts.contains(language == u"en"_s ? u"Cancel"_s : u"Abbrechen"_s));
        EXPECT_TRUE(texts.contains(localized(u"download_queue"_s)));
        EXPECT_EQ(cell(0, 1).toString(), localized(u"system_software"_s));
        EXPECT_EQ(place(), before);
        EXPECT_EQ(window.cancelBtn->isEnabled(), isCancelEnabled);
    }
    updateElements().clear(); // behind the table
    EXPECT_FALSE(cell(0, 1).isValid());
    controller.reloadQueueTable();
    EXPECT_EQ(table.model()->rowCount(), 0);
}

/// What the window tells of a run whose rows nobody loads, in a language that shows keys.
class DownloadRunTest : public DownloadWindowTest
{
protected:
    DownloadRunTest()
    {
        setCurrentLanguage(u"keys"_s);
        QObject::connect(&controller, &DownloadWindowController::presentationChanged,
                         [this] { bars += controller.presentation().bar; });
        controller.beginRun(nullptr);
    }

    [[nodiscard]] static UpdateElement sized(qint64 length,
                                             DownloadType state = DownloadType::Waiting)
    {
        UpdateElement element = row(QString(), state);
        element.contentLength = length;
        return element;
    }
    [[nodiscard]] static QList<DownloadType> states()
    {
        QList<DownloadType> result;
        for (const UpdateElement &element : std::as_const(updateElements()))
            result += element.downloadType;
        return result;
    }
    void expectShown(const QString &headline, bool okEnabled = false)
    {
        const DownloadPresentation &shown = controller.presentation();
        EXPECT_TRUE(shown.headline.endsWith(headline)) << qPrintable(shown.headline);
        EXPECT_EQ(shown.okEnabled, okEnabled);
        EXPECT_EQ(shown.cancelEnabled, !okEnabled);
    }
    void expectEnd(const QString &headline, bool okEnabled)
    {
        QueueWindow::postStartElementDownloads();
        EXPECT_TRUE(QTest::qWaitFor([this] { return hasEnded(controller.phase()); }));
        expectShown(headline, okEnabled);
    }

    const QString dontUnplug = u"label_dont_unplug_quillo"_s;
    QList<double> bars;
    QSignalSpy ends{&controller, &DownloadWindowController::runEnded};
};

TEST_F(DownloadRunTest, CopyShareFillsInStepsAndWithTheNextRow)
{
    // Half a second, minutes, at once.
    fill({sized(1'000'000), sized(1'000'000'000), sized(0), sized(0, DownloadType::Canceled)});
    const double share = 40.0 / 3;
    bars.clear();
    controller.copyStarted(0);
    EXPECT_TRUE(bars.isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([this] { return bars.size() >= 6; }));
    for (qsizetype i = 0; i < 6; ++i)
        EXPECT_NEAR(bars.at(i), share * std::min(0.2 * double(i + 1), 1.0), 1e-9) << i;
    for (const auto &[row, tolerance] : {std::pair(1, 1.0), {2, 1e-9}}) {
        bars.clear();
        controller.copyStarted(row);
        EXPECT_NEAR(bars.value(0), row * share, 1e-9);
        ASSERT_TRUE(QTest::qWaitFor([this] { return bars.size() >= 3; }));
        EXPECT_NEAR(bars.at(2), (row == 1 ? 1 : 3) * share, tolerance);
    }
}

TEST_F(DownloadRunTest, TheBarNeverStartsBelowWhatIsReadyAndADroppedRowCountsAsDone)
{
    fill({sized(1, DownloadType::Ready), sized(100),
          row(u"System"_s, DownloadType::Waiting, UpdateFileType::iso),
          sized(400, DownloadType::Downloading)});
    totalBytesToDownload() = 500;
    controller.resetProgress();
    EXPECT_EQ(controller.presentation().bar, 25);
    QueueWindow::postDownloadPercentage(0);
    EXPECT_EQ(controller.presentation().bar, 25);
    for (const int row : {-1, 4, 2, 3, 1, 1})
        controller.onItemClicked(row, DownloadWindowController::cancelColumn);
    EXPECT_EQ(states(), QList({DownloadType::Ready, DownloadType::Canceled, DownloadType::Waiting,
                               DownloadType::Downloading}));
    EXPECT_EQ(controller.presentation().bar, 35);
    EXPECT_EQ(totalBytesToDownload(), 400);
}

TEST_F(DownloadRunTest, WhatComesOnceItIsStoppedChangesNothing)
{
    fill({sized(1)});
    QueueWindow::postStartElementDownloads();
    controller.interrupt(RunPhase::PenRemoved);
    QueueWindow::postDownloadPercentage(50);
    QueueWindow::postNoResponseFromServer();
    QueueWindow::postStartElementDownloads();
    for (const int row : {0, -1})
        controller.copyStarted(row);
    controller.copyFailed({});
    EXPECT_EQ(states(), QList{DownloadType::Downloading});
    EXPECT_EQ(ends.size(), 1);
    expectShown(u"label_pen_removed"_s, true);
    EXPECT_EQ(controller.presentation().bar, 0);
    controller.beginRun(nullptr);
    expectShown(u"label_downloading"_s);
    for (const int row : {-1, 1}) {
        controller.copyStarted(row);
        expectShown(u"download_window_error"_s);
    }
}

TEST_F(DownloadRunTest, OnlyAFailedCopyIsExplainedByThePenThatWent)
{
    using Reason = FileFailure::Reason;
    for (const auto &[reason, headline] : {std::pair(Reason::Gone, u"label_pen_removed"_s),
                                           {Reason::ReadOnly, u"label_copy_failed"_s}}) {
        controller.beginRun(nullptr);
        controller.copyFailed({.reason = reason});
        controller.explainFailedCopy();
        expectShown(headline, reason == Reason::Gone);
    }
    controller.cancelBtnKlicked(); // what has ended does not end again
    EXPECT_EQ(ends.size(), 2);
    complete();
    controller.explainFailedCopy();
    expectShown(u"label_download_complete"_s, true);
}

TEST_F(DownloadRunTest, ThePenIsToStayWhileRowsAreLoadedWhateverWasToldBefore)
{
    QueueWindow::postNoResponseFromServer();
    expectShown(u"label_no_response_from_server"_s, true);
    fill({sized(1)});
    window.OKBtn->click(); // leaves the queue to the run
    QueueWindow::postStartElementDownloads();
    expectShown(dontUnplug);
    QueueWindow::postNoResponseFromServer();
    expectShown(dontUnplug);
    updateElements().first().downloadType = DownloadType::Ready;
    expectEnd(u"label_no_response_from_server"_s, true);

    controller.beginRun(nullptr);
    updateElements().first().downloadType = DownloadType::Failed;
    expectEnd(u"label_some_failed"_s, false);
    updateElements() += sized(1); // known late
    controller.okBtnKlicked();
    EXPECT_EQ(states(), QList{DownloadType::Waiting});
    controller.setIndexToDownload(0);
    QueueWindow::postStartElementDownloads();
    expectShown(dontUnplug);
}

TEST_F(DownloadRunTest, AnEmptyQueueIsCompleteUnlessTheNextRunHasBegunAndOtherFilesStopIt)
{
    QueueWindow::postStartElementDownloads();
    controller.beginRun(nullptr);
    QCoreApplication::processEvents();
    expectShown(u"label_downloading"_s);
    expectEnd(u"label_download_complete"_s, true);
    EXPECT_EQ(ends.size(), 1);
    for (const UpdateFileType kind : {UpdateFileType::txt, UpdateFileType::png}) {
        fill({row(u"a"_s, DownloadType::Waiting, kind), sized(1)});
        controller.beginRun(nullptr);
        QueueWindow::postStartElementDownloads();
        EXPECT_EQ(states(), QList<DownloadType>(2, DownloadType::Waiting));
        EXPECT_TRUE(controller.isWorking());
    }
}

} // namespace
