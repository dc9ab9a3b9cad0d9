#include "app/ViewController.h"

#include "tests/app/AppFixture.h"
#include "tests/support/GoldenTrace.h"

#include "base/EmptyStateView.h"
#include "download/DownloadWindow.h"
#include "download/DownloadWindowController.h"
#include "library/ColoredTableView.h"
#include "library/DownloadQueue.h"
#include "library/MusicController.h"
#include "library/MusicView.h"
#include "pen/FileService.h"
#include "pen/NavStorageItem.h"
#include "pen/URLFactory.h"
#include "platform/SharedSession.h"
#include "platform/URLSession.h"
#include "sync/UpdateService.h"
#include "ui/LanguageViewController.h"

#include <QDir>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSemaphore>
#include <QTableView>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

template <class Base>
class Started : public Base
{
protected:
    Started() { Base::start(); }

    /// What the window has logged, without what other threads log when it comes.
    static QStringList windowLog()
    {
        QStringList lines =
            Base::logLines({u"viewDid"_s, u"prepareBaseView"_s, u"init"_s, u"loadData"_s,
                            u"getBaseElementsFromPen "_s, u"addMountDetector"_s, u"showBooksView"_s,
                            u"loadView"_s, u"updateAll"_s, u"didMount"_s, u"didUnMount"_s});
        lines.removeAll(u"loadData in DispatchQueue"_s);
        lines.removeAll(u"loadData nach getMusicFromPen"_s);
        const qsizetype end = lines.indexOf(u"viewDidAppear Ende"_s);
        return end < 0 ? lines : lines.mid(0, end + 1);
    }
    QToolButton &penButton() { return *Base::controller().usbConnectionImageBtn; }
    QLabel &messageLine() { return *Base::window->template findChild<QLabel *>(u"messageLine"_s); }
};

using StartWithoutPen = Started<WindowWithoutPen>;
using StartWithPen = Started<WindowTest>;

TEST_F(StartWithoutPen, IsTracedAndLeavesThePenButtonDisabled)
{
    GoldenTrace trace;
    trace.add(u"start without pen"_s, windowLog());
    EXPECT_FALSE(penButton().isEnabled());
    EXPECT_EQ(window->size(), QSize(1440, 790));
    EXPECT_EQ(controller().contentView->grab().toImage().pixelColor(700, 400), QColor(Qt::white));
    EXPECT_FALSE(controller().isQuilloAvailable());
    EXPECT_FALSE(controller().quilloName());
    EXPECT_EQ(controller().viewMode(), ViewMode::tiled);
    controller().ejectQuillo();
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(messageLine().isVisible());
    EXPECT_EQ(window->windowTitle(), localized(u"window_title"_s));

    window->hide();
    window->show();
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s, 2));
    EXPECT_EQ(logLines({u"viewDidAppear Beginn"_s}).size(), 2);
    for (const auto &[name, isTaken] : {std::pair(u"USB STICK"_s, false), {u"quillo 2"_s, true}}) {
        removeLog();
        ASSERT_TRUE(QDir(pen.volumes()).mkdir(name));
        ASSERT_TRUE(waitForLog(u"didMount Ende"_s));
        QCoreApplication::sendPostedEvents();
        EXPECT_EQ(controller().isQuilloAvailable(), isTaken);
        EXPECT_FALSE(controller().quilloName());
        ASSERT_TRUE(QDir(pen.volumes()).rmdir(name));
        ASSERT_TRUE(waitForLog(u"didUnMount Ende"_s));
        QCoreApplication::sendPostedEvents();
        EXPECT_FALSE(controller().isQuilloAvailable());
        trace.add(u"another volume: "_s + name, logLines({u"didMount"_s, u"didUnMount"_s}));
    }
    trace.expectAsIn(u"start-without-pen.txt"_s);
    removeLog();
    activate();
    QTest::keyClick(window.get(), Qt::Key_F5);
    EXPECT_EQ(logLines({u"updateAll Beginn"_s}).size(), 1);
}

TEST_F(StartWithPen, IsTracedAndEnablesThePenButton)
{
    GoldenTrace trace;
    trace.add(u"start with a pen"_s, windowLog());
    trace.expectAsIn(u"start.txt"_s);
    EXPECT_TRUE(penButton().isEnabled());
    EXPECT_EQ(penButton().toolTip(), localized(u"usb_eject_warning"_s, u"de"_s));
    EXPECT_EQ(penButton().accessibleName(), localized(u"pen_button"_s));
    EXPECT_EQ(controller().quilloName(), u"QUILLO"_s);
}

TEST_F(StartWithPen, MusicIsReadOffTheMainThreadAndUntilThenItSaysSo)
{
    QSemaphore gate;
    std::atomic<bool> offMainThread = false;
    pen.write(u"mp3/a.mp3"_s, "x");
    controller().musicService.readAsset = [&](const QString &) {
        offMainThread = !Dispatch::isMainThread();
        gate.acquire();
        return AudioAsset();
    };
    controller().showView(NavElementType::Music);
    const auto *empty = controller().musicController->findChild<EmptyStateView *>();
    EXPECT_EQ(empty->reason(), EmptyStateView::Reason::ReadingMusic);
    gate.release(100);
    ASSERT_TRUE(QTest::qWaitFor([] { return musicList().size() == 1; }));
    EXPECT_TRUE(offMainThread);
    EXPECT_EQ(controller().musicController->list->musicArray().size(), 1);

    pen.write(u"mp3/b.mp3"_s, "x");
    gate.acquire(gate.available());
    controller().loadData();
    pullOut();
    gate.release();
    Dispatch::waitForGlobalWork();
    QCoreApplication::sendPostedEvents();
    EXPECT_TRUE(musicList().isEmpty()) << "of a pen that has gone";
}

TEST_F(StartWithoutPen, PluggingInEnablesAndPullingOutEmpties)
{
    plugIn();
    EXPECT_TRUE(penButton().isEnabled());
    EXPECT_EQ(controller().quilloName(), u"QUILLO"_s);
    bookList().append(std::make_shared<BaseElement>());
    updateElements().append(UpdateElement{});
    const QPointer<QLabel> content(new QLabel(controller().mainContentView));
    const auto *gauge = controller().storageMiniView->findChild<QProgressBar *>();
    const QString free = NavStorageItem::current->detailedStorageLabel->text();
    pullOut();
    EXPECT_FALSE(penButton().isEnabled());
    EXPECT_EQ(controller().quilloName(), u"QUILLO"_s);
    EXPECT_TRUE(bookList().isEmpty());
    EXPECT_EQ(controller().downloadWindow()->tableView->model()->rowCount(), 0);
    EXPECT_EQ(content, nullptr);
    EXPECT_EQ(gauge->value(), 0);
    EXPECT_NE(NavStorageItem::current->detailedStorageLabel->text(), free);
}

/// How often the text of the only title has been read.
class StartWithTitle : public WindowTest
{
protected:
    StartWithTitle()
    {
        writeTitle(pen, u"00001_de"_s, "Eins", "Buch");
        start();
    }
    static qsizetype readings()
    {
        QStringList lines = logLines({u"getFileContent fileURL = "_s});
        lines.removeIf([](const QString &line) { return !line.endsWith(u"/00001_de.txt"_s); });
        return lines.size();
    }
};

TEST_F(StartWithTitle, ReadsThePenOnceAndAgainOnlyWhatHasChanged)
{
    EXPECT_GE(logLines({u"getQuilloFilesInfoFromPen Ende"_s}).size(), 3);
    EXPECT_EQ(logLines({u"getTextFileContentFromPen Ende"_s}).size(), 1);
    EXPECT_EQ(readings(), 1);
    writeTitle(pen, u"00001_de"_s, "Anders", "Buch");
    writeTitle(pen, u"00002_de"_s, "Zwei", "Buch");
    controller().loadData();
    ASSERT_EQ(bookList().size(), 2);
    EXPECT_EQ(bookList().first()->name, u"Anders"_s);
    EXPECT_EQ(readings(), 2);
    FileService::writeFile(u"x"_s, *URLFactory::getTbdFileURL());
    controller().loadData();
    EXPECT_EQ(readings(), 3) << "the clock alone does not tell a text that is written at once";
    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    plugIn();
    EXPECT_TRUE(QTest::qWaitFor([] { return readings() == 4; })) << "another pen";
}

TEST_F(StartWithPen, OtherVolumesMayGoWhateverTheirNames)
{
    for (const QString &name : {u"My Quillo backup"_s, u"NO NAME"_s}) {
        ASSERT_TRUE(QDir(pen.volumes()).mkdir(name));
        ASSERT_TRUE(waitForLog(u"didMount Ende"_s));
        QCoreApplication::sendPostedEvents();
        bookList().append(std::make_shared<BaseElement>());
        removeLog();
        ASSERT_TRUE(QDir(pen.volumes()).rmdir(name));
        ASSERT_TRUE(waitForLog(u"didUnMount Ende"_s));
        QCoreApplication::sendPostedEvents();
        EXPECT_FALSE(bookList().isEmpty()) << qPrintable(name);
        EXPECT_TRUE(controller().isQuilloAvailable());
        EXPECT_EQ(logLines({u"didUnMount"_s}).size(), 3);
    }
    pullOut();
}

TEST_F(StartWithPen, PenButtonUnmountsThePen)
{
    QTest::mouseClick(&penButton(), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    EXPECT_FALSE(penButton().isEnabled());
    EXPECT_TRUE(volumes.volumes().isEmpty());
    EXPECT_TRUE(pen.exists(u"configure/settings.ini"_s));
    EXPECT_FALSE(messageLine().isVisible());
}

/// Volumes that will not go, and say so when a test wants it.
class StuckVolumes : public FolderVolumes
{
public:
    using FolderVolumes::FolderVolumes;

    void unmount(const Volume &, std::function<void(const QString &)> done) override
    {
        asked.append(done);
    }

    QList<std::function<void(const QString &)>> asked;
};

class EjectTest : public StartWithPen
{
protected:
    EjectTest()
    {
        window = std::make_unique<MainWindow>(Hardware{stuck, radio});
        window->show();
        EXPECT_TRUE(waitForLog(u"viewDidAppear Ende"_s, 2));
    }
    ~EjectTest() override { window.reset(); }

    [[nodiscard]] bool isAsked(int times)
    {
        QTest::mouseClick(&penButton(), Qt::LeftButton);
        return QTest::qWaitFor([&] { return stuck.asked.size() == times; });
    }
    [[nodiscard]] bool isTold(const QString &reason)
    {
        const QString text = localized(u"eject_failed"_s).replace(u"%@"_s, reason);
        return QTest::qWaitFor(
            [&] { return messageLine().isVisible() && messageLine().text() == text; });
    }

    StuckVolumes stuck{pen.volumes()};
};

TEST_F(EjectTest, ThatFailsTellsWhyAndCanBeTriedAgain)
{
    ASSERT_TRUE(isAsked(1));
    EXPECT_FALSE(penButton().isEnabled());
    const QString reason = u"Ziel ist beschäftigt"_s;
    EXPECT_TRUE(printedBy([&] {
                    stuck.asked.takeLast()(reason);
                    EXPECT_TRUE(isTold(reason));
                }).contains(reason));
    EXPECT_TRUE(controller().isQuilloAvailable());
    EXPECT_TRUE(penButton().isEnabled());
    pullOut();
    EXPECT_FALSE(messageLine().isVisible());
}

TEST_F(EjectTest, WithoutAnswerEndsWithThePenOrInTime)
{
    ASSERT_TRUE(isAsked(1));
    pullOut();
    removeLog();
    plugIn();
    EXPECT_FALSE(logLines({u"updateAll Beginn"_s}).isEmpty());
    EXPECT_TRUE(penButton().isEnabled());
    ASSERT_TRUE(isAsked(2));
    stuck.asked.first()(u"too late"_s);
    EXPECT_FALSE(messageLine().isVisible());
    EXPECT_TRUE(isAsked(2)); // still under way
    stuck.asked.last()(u"no"_s);
    controller().pen().ejectPatience = 1ms;
    QSemaphore written;
    sharedSession().async([&written] { written.acquire(); });
    QTest::mouseClick(&penButton(), Qt::LeftButton);
    EXPECT_TRUE(isTold(localized(u"eject_no_answer"_s)));
    EXPECT_TRUE(penButton().isEnabled());
    bool isReleased = false;
    controller().updateService->releasePen([&isReleased] { isReleased = true; });
    written.release();
    ASSERT_TRUE(QTest::qWaitFor([&isReleased] { return isReleased; }));
    EXPECT_EQ(stuck.asked.size(), 2) << "for an eject that was told as failed";
}

TEST_F(StartWithoutPen, TextsFollowTheLanguage)
{
    controller().languageViewController->englishButtonAction();
    EXPECT_EQ(penButton().toolTip(), localized(u"usb_eject_warning"_s, u"en"_s));
    EXPECT_EQ(window->findChild<QLabel *>(u"titleLabel"_s)->text(), localized(u"header_title"_s));
    EXPECT_EQ(controller().downloadWindow()->cancelBtn->text(), localized(u"cancel"_s));
}

} // namespace
