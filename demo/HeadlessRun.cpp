#include "demo/HeadlessRun.h"

#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "app/QuilloApplication.h"
#include "app/ViewController.h"
#include "demo/DemoOptions.h"
#include "demo/DemoOutput.h"
#include "demo/DemoSetup.h"
#include "demo/PictureTour.h"
#include "download/DownloadWindow.h"
#include "download/DownloadWindowController.h"
#include "library/DownloadQueue.h"
#include "sync/UpdateService.h"

#include <QDir>
#include <QFileInfo>
#include <QPushButton>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 120s;
constexpr auto patiencePerTitle = 30ms;
constexpr auto lookInterval = 100ms;
constexpr int fewestLooks = 10; // until the covers of the last picture are decoded
constexpr int mostLooks = 100;
constexpr double halfWay = 50;
constexpr qsizetype mostPlaced = 25; // lines of a summary that is read at a glance
constexpr qsizetype mostWrong = 15;

QString waitedFor(int step)
{
    const QStringList names = {u"the splash window"_s,   u"the main window"_s,
                               u"the download window"_s, u"the first transfer"_s,
                               u"half of the run"_s,     u"the end of the run"_s,
                               u"the log server"_s,      u"the pictures of other views"_s};
    return names.value(step);
}

bool isUnderWay(const UpdateElement &row)
{
    return row.downloadType == DownloadType::Downloading;
}

} // namespace

HeadlessRun::HeadlessRun(DemoSetup &setup, QuilloApplication &application,
                         const DemoOptions &options)
    : m_setup(setup)
    , m_application(application)
    , m_picturesFolder(options.picturesFolder)
    , m_everyView(options.everyView)
    , m_before(readPen(setup.pen().folder()))
{
    FlowController &flow = application.delegateReference->flowConroller;
    QTimer::singleShot(flow.splashDuration / 2, this, &HeadlessRun::splashShown);
    connect(&flow, &FlowController::mainWindowShown, this, &HeadlessRun::mainWindowShown);
    connect(&application, &QCoreApplication::aboutToQuit, this, &HeadlessRun::aboutToQuit);
    connect(&m_watchdog, &QTimer::timeout, this, &HeadlessRun::timedOut);
    connect(&m_looking, &QTimer::timeout, this, &HeadlessRun::look);
    m_watchdog.start(patience + patiencePerTitle * setup.catalogue().titles().size());
    m_looking.setInterval(lookInterval);
}

HeadlessRun::~HeadlessRun() = default;

DownloadWindowController &HeadlessRun::controller() const
{
    return m_application.viewController()->updateService->downloadWindowController();
}

void HeadlessRun::splashShown()
{
    takePicture(m_application.delegateReference->flowConroller.splashWindow.get(), u"1-splash"_s);
    m_step = Step::MainWindow;
}

void HeadlessRun::mainWindowShown()
{
    m_step = Step::DownloadWindow;
    const DownloadWindowController *window = &controller();
    connect(window, &DownloadWindowController::showRequested, this,
            &HeadlessRun::downloadWindowShown);
    connect(window, &DownloadWindowController::queueChanged, this, &HeadlessRun::progressed);
    connect(window, &DownloadWindowController::presentationChanged, this, &HeadlessRun::progressed);
    connect(window, &DownloadWindowController::completed, this, &HeadlessRun::completed);
    connect(m_application.viewController()->updateService.get(), &UpdateService::runEnded, this,
            &HeadlessRun::runEnded);
}

void HeadlessRun::downloadWindowShown()
{
    takePicture(m_application.viewController()->window(), u"2-main-window"_s);
    m_step = Step::FirstTransfer;
}

void HeadlessRun::progressed()
{
    QWidget *window = m_application.viewController()->downloadWindow();
    const QList<UpdateElement> &rows = updateElements();
    if (m_step == Step::FirstTransfer && std::any_of(rows.begin(), rows.end(), isUnderWay)) {
        takePicture(window, u"3-download-start"_s);
        m_step = Step::HalfWay;
    }
    const DownloadPresentation &shown = controller().presentation();
    if (m_step == Step::HalfWay && shown.bar >= halfWay && !shown.okEnabled) {
        takePicture(window, u"4-download-half-way"_s);
        m_step = Step::End;
    }
}

void HeadlessRun::completed()
{
    if (m_step != Step::End)
        return;
    takePicture(m_application.viewController()->downloadWindow(), u"5-download-done"_s);
    m_step = Step::Log;
}

void HeadlessRun::runEnded()
{
    if (m_tour)
        return; // plugging the pen in again has started another one
    if (m_step != Step::Log)
        m_failures += u"The run ended while waiting for %1: %2"_s.arg(
            waitedFor(int(m_step)), controller().presentation().headline);
    DownloadWindow *window = m_application.viewController()->downloadWindow();
    for (QPushButton *button : {window->OKBtn, window->cancelBtn}) {
        if (button->isEnabled()) {
            button->click();
            break;
        }
    }
    m_looking.start();
}

bool HeadlessRun::isLogTaken() const
{
    return QFileInfo(m_setup.pen().folder() + u"/configure/log.txt"_s).size() == 0;
}

/// The upload of the usage log is no part of the run and may end after it.
void HeadlessRun::look()
{
    ++m_looks;
    if (m_looks < fewestLooks || (!isLogTaken() && m_looks < mostLooks))
        return;
    m_looking.stop();
    takePicture(m_application.viewController()->window(), u"6-main-window-after"_s);
    const PenFiles after = readPen(m_setup.pen().folder());
    m_placed = placedFiles(m_before, after);
    m_failures += problems(after);
    showOthers();
}

void HeadlessRun::finish()
{
    tell(u"\nPlaced on the pen (%1 files):"_s.arg(m_placed.size()));
    tellSome(m_placed, mostPlaced);
    tell(u"Pictures:"_s);
    tellSome(m_pictures, m_pictures.size());
    // Where there is no web engine, for one; nothing that had to arrive.
    for (const QString &name : m_tour->missed())
        tell(u"Without what it should show: "_s + name);
    if (!m_failures.isEmpty())
        tell(u"NOT AS IT SHOULD BE:"_s);
    tellSome(m_failures, mostWrong);
    tell(m_failures.isEmpty()
             ? u"Everything arrived; each file is byte for byte what the servers hold."_s
             : u"Not everything arrived."_s);
    leave(m_failures.isEmpty() ? 0 : 1);
}

void HeadlessRun::showOthers()
{
    m_step = Step::OtherViews;
    m_watchdog.start();
    m_tour = std::make_unique<PictureTour>(
        *m_application.viewController(), m_setup, [this](QWidget *window, const QString &name) {
            takePicture(window, name);
            m_watchdog.start(); // without a web engine some of them take long
        });
    m_tour->addMusicAndVideo(7);
    if (m_everyView)
        m_tour->addEveryView();
    connect(m_tour.get(), &PictureTour::finished, this, &HeadlessRun::finish);
    m_tour->start();
}

void HeadlessRun::leave(int exitCode)
{
    m_exitCode = exitCode;
    m_application.exit(exitCode);
}

void HeadlessRun::aboutToQuit()
{
    if (!m_exitCode)
        tell(u"\nEnded early, while waiting for %1."_s.arg(waitedFor(int(m_step))));
}

QStringList HeadlessRun::problems(const PenFiles &found) const
{
    QStringList lines = differences(expectedFiles(m_setup.catalogue()), found);
    if (m_before.value(u"configure/log.txt"_s).size > 0
        && m_setup.servers().receivedLogs().isEmpty())
        lines += u"The usage log did not reach the log server."_s;
    return lines;
}

void HeadlessRun::timedOut()
{
    tell(u"\nGave up waiting for %1."_s.arg(waitedFor(int(m_step))));
    if (m_application.viewController() != nullptr)
        tell(u"The download window says: "_s + controller().presentation().headline);
    leave(1);
}

void HeadlessRun::takePicture(QWidget *window, const QString &name)
{
    const QString path = QDir(m_picturesFolder).absoluteFilePath(name + u".png"_s);
    if (window != nullptr && QDir().mkpath(m_picturesFolder) && window->grab().save(path))
        m_pictures += path;
    else
        m_failures += u"No picture %1"_s.arg(path);
}
