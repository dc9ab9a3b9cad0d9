#include "app/ViewController.h"

#include "tests/app/AppFixture.h"

#include "download/DownloadQueue.h"
#include "download/DownloadWindow.h"
#include "download/DownloadWindowController.h"
#include "sync/UpdateService.h"

#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

const QStringList loadLines{u"loadData Beginn"_s,
                            u"loadData nach toolTip"_s,
                            u"loadData nach DispatchQueue"_s,
                            u"getBaseElementsFromPen Beginn"_s,
                            u"getBaseElementsFromPen nach getBookAndGameListFromPen"_s,
                            u"getBaseElementsFromPen Ende"_s,
                            u"loadData nach getElementsFromPen"_s,
                            u"loadData nach updateValues"_s,
                            u"loadData Ende"_s};

QStringList startLines(const QString &available)
{
    return QStringList{u"viewDidLoad Beginn"_s,
                       u"viewDidLoad nach super.viewDidLoad"_s,
                       u"viewDidLoad nach updateService"_s,
                       u"viewDidLoad nach setFrame"_s,
                       u"prepareBaseViews Beginn"_s,
                       u"prepareBaseViews nach navigationViewContainer backgroundColor"_s,
                       u"prepareBaseViews nach contentView backgroundColor"_s,
                       u"prepareBaseView Ende"_s,
                       u"viewDidLoad nach prepareBaseViews"_s,
                       u"viewDidLoad isQuilloAvailable: "_s + available}
           + loadLines
           + QStringList{u"viewDidLoad nach loadData"_s,
                         u"initSubViews Beginn"_s,
                         u"initHeaderView Beginn"_s,
                         u"initHeaderView Ende"_s,
                         u"initSubViews nach initHeaderView"_s,
                         u"initDeleteView Beginn"_s,
                         u"initDeleteView Ende"_s,
                         u"initSubViews nach initDeleteView"_s,
                         u"initSearchView Beginn"_s,
                         u"initSearchView Ende"_s,
                         u"initSubViews nach initSearchView"_s,
                         u"initLanguageView Beginn"_s,
                         u"initLanguageView Ende"_s,
                         u"initSubViews nach initLanguageView"_s,
                         u"initNavView Beginn"_s}
           + loadLines
           + QStringList{u"initNavView Ende"_s,
                         u"initSubViews nach initNavView"_s,
                         u"initSubViews Ende"_s,
                         u"viewDidLoad nach initSubViews"_s,
                         u"addMountDetector Beginn"_s,
                         u"addMountDetector Ende"_s,
                         u"viewDidLoad nach addMountDetector"_s,
                         u"viewDidLoad Ende"_s};
}

const QStringList appearLines{u"viewDidAppear Beginn"_s,
                              u"viewDidAppear nach super.viewDidAppear"_s,
                              u"viewDidAppear nach delegate"_s,
                              u"viewDidAppear nach title"_s,
                              u"viewDidAppear nach showBooksView"_s,
                              u"viewDidAppear nach updateAll"_s,
                              u"viewDidAppear nach reloadData"_s,
                              u"viewDidAppear Ende"_s};

/// The start-up lines, without those of the music task, which come when they come.
QStringList synchronousOnly(QStringList lines)
{
    lines.removeAll(u"loadData in DispatchQueue"_s);
    lines.removeAll(u"loadData nach getMusicFromPen"_s);
    return lines;
}

const QStringList startPrefixes{u"viewDid"_s,  u"prepareBaseView"_s,         u"init"_s,
                                u"loadData"_s, u"getBaseElementsFromPen "_s, u"addMountDetector"_s};

template <class Base>
class Started : public Base
{
protected:
    Started() { window.show(); }

    ViewController &controller() { return window.viewController(); }
    QToolButton &penButton() { return *controller().usbConnectionImageBtn; }
    QLabel &messageLine() { return *window.template findChild<QLabel *>(u"messageLine"_s); }

    MainWindow window{Base::volumes};
};

using StartWithoutPen = Started<AppTest>;
using StartWithPen = Started<PenAppTest>;

TEST_F(StartWithoutPen, IsTracedAndLeavesThePenButtonDisabled)
{
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    EXPECT_EQ(synchronousOnly(logLines(startPrefixes)), startLines(u"false"_s) + appearLines);
    EXPECT_FALSE(penButton().isEnabled());
    EXPECT_FALSE(controller().isQuilloAvailable());
    EXPECT_FALSE(controller().quilloName);
    EXPECT_TRUE(bookList().isEmpty());
    EXPECT_EQ(window.windowTitle(), localized(u"window_title"_s));
}

TEST_F(StartWithPen, IsTracedAndEnablesThePenButton)
{
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    EXPECT_EQ(synchronousOnly(logLines(startPrefixes)).mid(0, startLines({}).size()),
              startLines(u"true"_s));
    EXPECT_EQ(logLines({u"viewDidAppear"_s}), appearLines);
    EXPECT_TRUE(penButton().isEnabled());
    EXPECT_EQ(penButton().toolTip(), localized(u"usb_eject_warning"_s, u"de"_s));
    EXPECT_EQ(penButton().accessibleName(), localized(u"pen_button"_s));
    EXPECT_EQ(controller().quilloName, u"QUILLO"_s);
}

TEST_F(StartWithoutPen, MusicTasksAreTracedOnThePool)
{
    // One by the main window and one by the navigation; which line comes when is the pool's affair.
    ASSERT_TRUE(waitForLog(u"loadData nach getMusicFromPen"_s, 2));
    QStringList lines = logLines({u"loadData in"_s, u"loadData nach getM"_s});
    EXPECT_EQ(lines.constFirst(), u"loadData in DispatchQueue"_s);
    EXPECT_EQ(lines.constLast(), u"loadData nach getMusicFromPen"_s);
    EXPECT_EQ(lines.removeAll(u"loadData in DispatchQueue"_s), 2);
    EXPECT_EQ(lines.removeAll(u"loadData nach getMusicFromPen"_s), 2);
}

TEST_F(StartWithoutPen, MusicListIsReplacedByWhatThePoolLists)
{
    musicList() = {std::make_shared<Music>()};
    controller().loadData();
    ASSERT_TRUE(waitForLog(u"loadData nach getMusicFromPen"_s, 3));
    EXPECT_EQ(musicList().size(), 1);

    std::atomic<bool> offMainThread = false;
    controller().getMusicFromPen = [&] {
        offMainThread = !Dispatch::isMainThread();
        return MusicList{std::make_shared<Music>(), std::make_shared<Music>()};
    };
    controller().loadData();
    ASSERT_TRUE(QTest::qWaitFor([] { return musicList().size() == 2; }));
    EXPECT_TRUE(offMainThread);
}

TEST_F(StartWithoutPen, EveryShowingAppearsAnew)
{
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    window.hide();
    window.show();
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s, 2));
    EXPECT_EQ(logLines({u"viewDidAppear"_s}), appearLines + appearLines);
}

TEST_F(StartWithoutPen, PluggingInEnablesAndPullingOutEmpties)
{
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    pen.plugIn();
    ASSERT_TRUE(QTest::qWaitFor([this] { return controller().isQuilloAvailable(); }));
    EXPECT_TRUE(penButton().isEnabled());
    EXPECT_EQ(controller().quilloName, u"QUILLO"_s);
    EXPECT_EQ(logLines({u"didMount"_s}),
              (QStringList{u"didMount Beginn"_s, u"didMount if canDeviceNameBeQuillo"_s,
                           u"didMount Ende"_s}));

    bookList().append(std::make_shared<BaseElement>());
    updateElements().append(UpdateElement{});
    auto *shown = new QLabel(controller().mainContentView);
    const QPointer<QLabel> content(shown);
    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    EXPECT_FALSE(penButton().isEnabled());
    EXPECT_EQ(controller().quilloName, u"QUILLO"_s);
    EXPECT_TRUE(bookList().isEmpty());
    EXPECT_EQ(controller().downloadWindow()->tableView->model()->rowCount(), 0);
    EXPECT_EQ(content, nullptr);
    EXPECT_EQ(logLines({u"didUnMount"_s}),
              (QStringList{u"didUnMount Beginn"_s, u"didUnMount if canDeviceNameBeQuillo"_s,
                           u"didUnMount Ende"_s}));
}

TEST_F(StartWithoutPen, OtherVolumesChangeNothing)
{
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    ASSERT_TRUE(QDir(pen.volumes()).mkdir(u"USB STICK"_s));
    ASSERT_TRUE(waitForLog(u"didMount Ende"_s));
    EXPECT_EQ(logLines({u"didMount"_s}), (QStringList{u"didMount Beginn"_s, u"didMount Ende"_s}));
    EXPECT_FALSE(controller().isQuilloAvailable());
}

TEST_F(StartWithPen, PenButtonUnmountsThePen)
{
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    QTest::mouseClick(&penButton(), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    EXPECT_FALSE(penButton().isEnabled());
    EXPECT_TRUE(volumes.volumes().isEmpty());
    EXPECT_TRUE(pen.exists(u"configure/settings.ini"_s));
    EXPECT_FALSE(messageLine().isVisible());
}

/// Volumes that will not go.
class StuckVolumes : public FolderVolumes
{
public:
    using FolderVolumes::FolderVolumes;

    void unmount(const Volume &, std::function<void(const QString &)> done) override
    {
        Dispatch::main(this, [done] { done(u"Ziel ist beschäftigt"_s); });
    }
};

class StuckPenTest : public PenAppTest
{
protected:
    StuckPenTest() { FileManager::setVolumeSource(&stuck); }

    StuckVolumes stuck{pen.volumes()};
    MainWindow window{stuck};
};

TEST_F(StuckPenTest, FailedEjectTellsWhyAndCanBeTriedAgain)
{
    window.show();
    ViewController &controller = window.viewController();
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    auto *message = window.findChild<QLabel *>(u"messageLine"_s);
    QTest::mouseClick(controller.usbConnectionImageBtn, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return message->isVisible(); }));
    EXPECT_TRUE(message->text().contains(u"Ziel ist beschäftigt"_s));
    EXPECT_FALSE(message->text().contains(u"%@"_s));
    EXPECT_TRUE(controller.isQuilloAvailable());
    EXPECT_TRUE(controller.usbConnectionImageBtn->isEnabled());

    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller.isQuilloAvailable(); }));
    EXPECT_FALSE(message->isVisible());
}

TEST_F(StartWithoutPen, EjectingWithoutPenDoesNothing)
{
    controller().ejectQuillo();
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(messageLine().isVisible());
}

TEST_F(StartWithoutPen, ViewModeBeginsTiledAndToggles)
{
    EXPECT_EQ(controller().viewMode(), ViewMode::tiled);
    controller().toggleViewMode();
    EXPECT_EQ(controller().viewMode(), ViewMode::list);
    controller().toggleViewMode();
    EXPECT_EQ(controller().viewMode(), ViewMode::tiled);
}

TEST_F(StartWithoutPen, TextsFollowTheLanguage)
{
    const QString german = penButton().toolTip();
    setCurrentLanguage(u"en"_s);
    controller().updateTexts();
    EXPECT_NE(penButton().toolTip(), german);
    EXPECT_EQ(penButton().toolTip(), localized(u"usb_eject_warning"_s, u"en"_s));
    EXPECT_EQ(window.findChild<QLabel *>(u"titleLabel"_s)->text(),
              localized(u"header_title"_s, u"en"_s));
    EXPECT_EQ(controller().downloadWindow()->cancelBtn->text(), localized(u"cancel"_s, u"en"_s));
}

} // namespace
