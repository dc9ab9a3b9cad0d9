#include "download/DownloadWindow.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "download/DownloadWindowController.h"
#include "download/LibraryReloading.h"
#include "library/CoverCache.h"
#include "library/DownloadQueue.h"
#include "platform/SoundPlayer.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHeaderView>
#include <QLabel>
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

    void complete()
    {
        controller.beginRun(nullptr);
        QSignalSpy completed(&controller, &DownloadWindowController::completed);
        DownloadWindowController::postNotification(QueueWindow::downloadComplete);
        ASSERT_TRUE(completed.wait());
    }

    CoverCache covers;
    RecordedSounds sounds;
    Reloads reloads;
    DownloadWindowController controller;
    DownloadWindow window{controller, covers, sounds};
};

TEST_F(DownloadWindowTest, StartsIdleAndHiddenAndClosesWhenAsked)
{
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(window.OKBtn->isEnabled());
    EXPECT_TRUE(window.cancelBtn->isEnabled());
    EXPECT_EQ(window.progressImage->imageName(), u"quillo-fortschritt-laden_0"_s);
    EXPECT_EQ(window.stepLabel->text(), u"0 %"_s);
    show();
    EXPECT_TRUE(window.screen()->availableGeometry().contains(window.frameGeometry()));
    Q_EMIT controller.closeRequested();
    EXPECT_FALSE(window.isVisible());
}

TEST_F(DownloadWindowTest, RowsShowCoversTintsAndNames)
{
    UpdateElement covered = row(u"Der Löwe"_s, DownloadType::Waiting);
    covered.image = dummyCover();
    fill({row(u"a"_s, DownloadType::Waiting), covered});
    show();
    EXPECT_EQ(window.tableView->rowHeight(0), 32);
    EXPECT_FALSE(cell(0, 1, Qt::BackgroundRole).isValid());
    EXPECT_EQ(cell(1, 1, Qt::BackgroundRole).value<QColor>(), ColorConstants::lightCGColor());
    EXPECT_FALSE(cell(0, 0, Qt::DecorationRole).isValid());
    const auto cover = cell(1, 0, Qt::DecorationRole).value<QPixmap>();
    EXPECT_FALSE(cover.isNull());
    EXPECT_LE(cover.height(), 32);
    EXPECT_TRUE(cell(1, 3, Qt::AccessibleTextRole).toString().contains(u"Der Löwe"_s));
}

TEST_F(DownloadWindowTest, StatesAreWordsWithACrossOnlyWhileWaiting)
{
    const QList<std::pair<DownloadType, QString>> states = {
        {DownloadType::Ready, u"Fertig"_s},         {DownloadType::UpToDate, u"Aktuell"_s},
        {DownloadType::Canceled, u"Abgebrochen"_s}, {DownloadType::Downloading, u"Wird geladen"_s},
        {DownloadType::Copying, u"Wird kopiert"_s}, {DownloadType::Waiting, u"Wartet"_s},
        {DownloadType::Failed, u"Fehlgeschlagen"_s}};
    for (const auto &[state, german] : states) {
        fill({row(u"Titel"_s, state), row(u"System"_s, state, UpdateFileType::iso)});
        setCurrentLanguage(u"de"_s);
        EXPECT_EQ(cell(0, 2).toString(), german);
        setCurrentLanguage(u"en"_s);
        EXPECT_EQ(cell(0, 2).toString(), localized(statusTextKey(state), u"en"_s));
        EXPECT_EQ(hasCross(0), state == DownloadType::Waiting) << qPrintable(german);
        EXPECT_FALSE(hasCross(1));
    }
}

TEST_F(DownloadWindowTest, TextsFollowTheLanguage)
{
    const auto header = [this](int column) {
        return window.tableView->model()->headerData(column, Qt::Horizontal).toString();
    };
    EXPECT_FALSE(window.tableView->accessibleName().isEmpty());
    EXPECT_FALSE(window.progressBar->accessibleName().isEmpty());
    EXPECT_FALSE(window.windowTitle().isEmpty());
    EXPECT_EQ(window.downlloadLabel->text(), localized(u"label_downloading"_s));
    EXPECT_EQ(window.cancelBtn->text(), u"Abbrechen"_s);
    EXPECT_EQ(header(1), u"Titel"_s);
    setCurrentLanguage(u"en"_s);
    window.updateTexts();
    EXPECT_EQ(window.cancelBtn->text(), u"Cancel"_s);
    EXPECT_EQ(window.OKBtn->text(), u"OK"_s);
    EXPECT_EQ(header(1), u"Title"_s);
    EXPECT_EQ(header(2), u"Status"_s);
    EXPECT_EQ(window.downlloadLabel->text(), localized(u"label_downloading"_s, u"en"_s));
}

TEST_F(DownloadWindowTest, ClickInTheCancelColumnAndKeysDropTheRow)
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
    window.tableView->setFocus();
    for (const auto &[row, key] : {std::pair{2, Qt::Key_Delete}, std::pair{3, Qt::Key_Space}}) {
        window.tableView->selectRow(row);
        QTest::keyClick(window.tableView, key);
        EXPECT_EQ(state(row), DownloadType::Canceled);
    }
    EXPECT_EQ(state(0), DownloadType::Waiting);
}

TEST_F(DownloadWindowTest, TabGoesFromTheTableToTheButtons)
{
    fill({row(u"a"_s, DownloadType::Waiting)});
    show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    window.tableView->setFocus();
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

TEST_F(DownloadWindowTest, TitleBarActsAsCancelDuringARun)
{
    fill({row(u"a"_s, DownloadType::Downloading)});
    show();
    ASSERT_TRUE(window.cancelBtn->isEnabled());
    closeByTitleBar();
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(updateElements().size(), 1) << "only OK empties the queue";
    EXPECT_TRUE(reloads.calls.isEmpty()) << "the reload follows the closing";
    EXPECT_TRUE(QTest::qWaitFor([this] { return reloads.calls.size() == 2; }));
}

TEST_F(DownloadWindowTest, TitleBarIsIgnoredWhileSystemSoftwareLoads)
{
    fill({row(u"System"_s, DownloadType::Waiting, UpdateFileType::iso)});
    show();
    DownloadWindowController::postStartElementDownloads();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !window.cancelBtn->isEnabled(); }));
    ASSERT_FALSE(window.OKBtn->isEnabled());
    closeByTitleBar();
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(DownloadWindowTest, ReloadsKeepPositionAndSelection)
{
    QList<UpdateElement> rows;
    for (int i = 0; i < 10'000; ++i)
        rows.append(row(QString::number(i), DownloadType::Waiting));
    fill(rows);
    show();
    window.tableView->selectRow(5'000);
    window.tableView->scrollTo(window.tableView->currentIndex());
    const int position = window.tableView->verticalScrollBar()->value();
    ASSERT_GT(position, 0);
    updateElements()[0].downloadType = DownloadType::Ready;
    updateElements().append(row(u"late"_s, DownloadType::Waiting));
    controller.reloadQueueTable();
    EXPECT_EQ(window.tableView->verticalScrollBar()->value(), position);
    EXPECT_EQ(window.tableView->currentIndex().row(), 5'000);
    EXPECT_TRUE(window.tableView->selectionModel()->isRowSelected(5'000));
    EXPECT_EQ(window.tableView->model()->rowCount(), 10'001);
    EXPECT_EQ(cell(0, 2).toString(), localized(u"cell_ready"_s));
    updateElements().clear(); // behind the table
    EXPECT_FALSE(cell(0, 1).isValid());
    controller.reloadQueueTable();
    EXPECT_EQ(window.tableView->model()->rowCount(), 0);
}

} // namespace
