#include "demo/PictureTour.h"

#include "app/NavigationViewController.h"
#include "app/ViewController.h"
#include "base/Localization.h"
#include "bluetooth/VideosController.h"
#include "demo/DemoSetup.h"
#include "library/CategoryControllers.h"
#include "library/LibraryLists.h"
#include "library/MyQuilloTitlesController.h"
#include "library/SearchViewController.h"
#include "library/TileView.h"
#include "library/TitlesPage.h"
#include "platform/WebView.h"
#include "ui/DeleteViewController.h"
#include "ui/LanguageViewController.h"
#include "ui/LegalWindowController.h"
#include "ui/ShopController.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QTableView>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 21s; // for what a picture waits for
constexpr int videoPieces = 5;

const QList<std::pair<NavElementType, QString>> &categories()
{
    static const QList<std::pair<NavElementType, QString>> all = {
        {NavElementType::MyTitles, u"my-titles"_s},
        {NavElementType::Books, u"books"_s},
        {NavElementType::Games, u"games"_s},
        {NavElementType::LearningMaterials, u"learning-materials"_s},
        {NavElementType::Archive, u"archive"_s},
        {NavElementType::Music, u"music"_s},
        {NavElementType::Storage, u"storage"_s}};
    return all;
}

void chooseSecond(QAbstractItemView &view)
{
    view.selectionModel()->select(view.model()->index(1, 0),
                                  QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

} // namespace

PictureTour::PictureTour(ViewController &viewController, DemoSetup &setup, TakePicture takePicture)
    : m_viewController(viewController)
    , m_setup(setup)
    , m_takePicture(std::move(takePicture))
{
    connect(&m_timer, &QTimer::timeout, this, &PictureTour::next);
}

void PictureTour::addMusicAndVideo(int number)
{
    m_stops.append({u"%1-music"_s.arg(number), [this] {
                        m_viewController.showView(NavElementType::Music);
                    }});
    m_stops.append({{},
                    [this] {
                        m_viewController.showView(NavElementType::Videos);
                        startScan();
                    },
                    [this] {
                        return isConnected();
                    }});
    m_stops.append({u"%1-video"_s.arg(number + 1), [this] { pointAtVideo(); },
                    [this] {
                        return isPlaying();
                    }});
}

void PictureTour::addEveryView()
{
    for (const QString &language : {u"de"_s, u"en"_s})
        addLanguage(language);
}

void PictureTour::addLanguage(const QString &language)
{
    const auto switchTo = [this, language] {
        LanguageViewController &flags = *m_viewController.languageViewController;
        if (language == "de"_L1)
            flags.germanButtonAction();
        else
            flags.englishButtonAction();
    };
    for (const auto &[mode, modeName] :
         {std::pair{ViewMode::tiled, u"tiles"_s}, std::pair{ViewMode::list, u"list"_s}}) {
        for (const auto &[category, name] : categories()) {
            m_stops.append({language + u'-' + modeName + u'-' + name,
                            [this, switchTo, mode = mode, category = category] {
                                switchTo();
                                m_viewController.setViewMode(mode);
                                m_viewController.showView(category);
                            }});
        }
    }
    addSelection(language);
    addSearch(language);
    addAlert(language);
    addVideos(language);
    addMusic(language);
    addShop(language);
    addLegalTexts(language);
    addWithoutPen(language);
}

/// What is chosen stands out, the others step back.
void PictureTour::addSelection(const QString &language)
{
    m_stops.append({language + u"-selected-tile"_s, [this] {
                        m_viewController.setViewMode(ViewMode::tiled);
                        m_viewController.showView(NavElementType::Books);
                        chooseSecond(*m_viewController.myBooksController->collectionView);
                    }});
    m_stops.append({language + u"-selected-row"_s, [this] {
                        m_viewController.setViewMode(ViewMode::list);
                        m_viewController.showView(NavElementType::Books);
                        chooseSecond(*m_viewController.myBooksController->listTable());
                    }});
}

void PictureTour::addSearch(const QString &language)
{
    const auto search = [this](const QString &words) {
        m_viewController.searchViewController->searchField->setText(words);
        m_viewController.searchViewController->searchFieldAction();
    };
    m_stops.append({language + u"-found"_s, [search] {
                        search(bookList().constFirst()->name.section(u' ', -1));
                    }});
    m_stops.append({language + u"-nothing-found"_s, [search] {
                        search(u"Rübezahl & Söhne"_s);
                    }});
    m_stops.append({{}, [this] {
                        m_viewController.searchViewController->clear();
                    }});
}

void PictureTour::addVideos(const QString &language)
{
    m_stops.append({language + u"-videos"_s,
                    [this] {
                        if (QWidget *alert = QApplication::activeModalWidget())
                            alert->close();
                        m_viewController.bluetoothService.disconnect();
                        m_setup.radio().setInReach(1, true);
                        m_viewController.showView(NavElementType::Videos);
                    },
                    [this] {
                        return isPlaying();
                    }});
    m_stops.append({language + u"-videos-scanning"_s, [this] {
                        startScan();
                    }});
    m_stops.append({language + u"-videos-choosing"_s, [] {},
                    [this] {
                        return m_viewController.videosController->quillosComboBox->isVisible();
                    }});
    m_stops.append({language + u"-videos-connected"_s,
                    [this] { m_viewController.videosController->quillosComboBoxAction(1); },
                    [this] {
                        return isConnected();
                    }});
    m_stops.append({language + u"-videos-not-there"_s,
                    [this] {
                        const QByteArray address =
                            m_setup.servers().fileAddress().toLatin1() + "gone.mp4";
                        m_setup.radio().sendAddress(address, videoPieces);
                    },
                    [this] {
                        return m_viewController.videosController->webView->isUnavailable();
                    }});
}

void PictureTour::addShop(const QString &language)
{
    m_stops.append({language + u"-shop"_s,
                    [this] { m_viewController.showView(NavElementType::Shop); },
                    [this] {
                        return m_viewController.shopController->webView->isLoaded();
                    }});
    m_stops.append({language + u"-shop-unavailable"_s,
                    [this] {
                        m_setup.servers().stop();
                        m_viewController.shopController->webView->reload();
                    },
                    [this] {
                        return m_viewController.shopController->webView->isUnavailable();
                    }});
}

void PictureTour::addLegalTexts(const QString &language)
{
    constexpr int legalInformation = 3; // entry of the menu; the next one is privacy
    for (const auto &[entry, name] : {std::pair{legalInformation, u"-legal-information"_s},
                                      std::pair{legalInformation + 1, u"-privacy"_s}}) {
        m_stops.append({language + name, [this, entry = entry] {
                            DeleteViewController &menu = *m_viewController.deleteViewController;
                            delete menu.legalWindowController;
                            menu.dropDownMenu->actions().at(entry)->trigger();
                        }});
    }
    m_stops.append({{}, [this] {
                        delete m_viewController.deleteViewController->legalWindowController;
                        if (!m_setup.servers().start())
                            m_missed.append(u"servers"_s);
                    }});
}

/// The music as the last section of all titles, and none at all.
void PictureTour::addMusic(const QString &language)
{
    m_stops.append({{}, [this] {
                        m_viewController.showView(NavElementType::MyTitles);
                    }});
    m_stops.append({language + u"-my-titles-end"_s, [this] {
                        auto *page =
                            m_viewController.myQuilloTitlesController->findChild<TitlesPage *>();
                        page->setScrollPosition(page->verticalScrollBar()->maximum());
                    }});
    const auto rename = [this](const QString &from, const QString &to) {
        QDir(m_setup.pen().folder()).rename(from, to);
        m_viewController.loadData();
    };
    m_stops.append({language + u"-music-empty"_s, [this, rename] {
                        rename(u"mp3"_s, u"music-elsewhere"_s);
                        m_viewController.showView(NavElementType::Music);
                    }});
    m_stops.append({{}, [rename] {
                        rename(u"music-elsewhere"_s, u"mp3"_s);
                    }});
}

void PictureTour::addWithoutPen(const QString &language)
{
    m_stops.append({language + u"-no-pen"_s, [this] {
                        if (QWidget *alert = QApplication::activeModalWidget())
                            alert->close();
                        m_setup.pen().pullOut();
                    }});
    for (const auto &[category, name] : categories()) {
        m_stops.append({language + u"-no-pen-"_s + name, [this, category = category] {
                            m_viewController.showView(category);
                        }});
    }
    m_stops.append({{}, [this] {
                        m_setup.pen().plugIn();
                    }});
}

/// The question for the first two books; nobody answers it.
void PictureTour::addAlert(const QString &language)
{
    m_stops.append({language + u"-alert"_s, [this] {
                        QStringList ids;
                        for (const ElementPtr &book : bookList().first(2))
                            ids += book->id;
                        m_viewController.deleteViewController->setSelectedElementIds(ids);
                        m_viewController.deleteViewController->deleteButtonAction();
                    }});
}

void PictureTour::start()
{
    m_timer.start(stay);
}

/// Takes the picture of what was prepared before, once it is ready, and prepares what comes next.
void PictureTour::next()
{
    const bool ready = !m_shown.ready || m_shown.ready();
    if (!ready && !m_patience.hasExpired())
        return;
    if (!ready)
        m_missed.append(m_shown.name);
    if (!m_shown.name.isEmpty())
        m_takePicture(shownWindow(), m_shown.name);
    if (m_stops.isEmpty()) {
        m_timer.stop();
        Q_EMIT finished();
        return;
    }
    m_shown = m_stops.takeFirst();
    m_shown.prepare();
    m_patience.setRemainingTime(patience);
}

void PictureTour::startScan()
{
    m_viewController.bluetoothService.startScan();
}

void PictureTour::pointAtVideo()
{
    m_setup.radio().sendAddress(m_setup.servers().videoAddress().toLatin1(), videoPieces);
}

bool PictureTour::isConnected() const
{
    return m_setup.radio().isConnected();
}

bool PictureTour::isPlaying() const
{
    const VideosController *videos = m_viewController.videosController;
    return videos != nullptr && videos->webView->isPlaying();
}

QWidget *PictureTour::shownWindow() const
{
    QWidget *alert = QApplication::activeModalWidget();
    if (alert != nullptr)
        return alert;
    QWidget *legal = m_viewController.deleteViewController->legalWindowController;
    return legal != nullptr ? legal : m_viewController.window();
}
