#include "demo/PictureTour.h"

#include "app/NavigationViewController.h"
#include "app/ViewController.h"
#include "base/Localization.h"
#include "demo/DemoPen.h"
#include "library/CategoryControllers.h"
#include "library/LibraryLists.h"
#include "library/TileView.h"
#include "ui/DeleteViewController.h"

#include <QApplication>
#include <QTableView>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto stay = 700ms; // until the covers are decoded and the slower news have arrived

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

PictureTour::PictureTour(ViewController &viewController, DemoPen &pen, TakePicture takePicture)
    : m_viewController(viewController)
    , m_pen(pen)
    , m_takePicture(std::move(takePicture))
{
    for (const QString &language : {u"de"_s, u"en"_s})
        addLanguage(language);
    connect(&m_timer, &QTimer::timeout, this, &PictureTour::next);
}

void PictureTour::addLanguage(const QString &language)
{
    const auto switchTo = [this, language] {
        setCurrentLanguage(language);
        m_viewController.navigationViewController->reloadNavigation();
        m_viewController.updateTexts();
        m_viewController.loadData(); // with the gauge's texts
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
    addAlert(language);
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

void PictureTour::addWithoutPen(const QString &language)
{
    m_stops.append({language + u"-no-pen"_s, [this] {
                        if (QWidget *alert = QApplication::activeModalWidget())
                            alert->close();
                        m_pen.pullOut();
                    }});
    for (const auto &[category, name] : categories()) {
        m_stops.append({language + u"-no-pen-"_s + name, [this, category = category] {
                            m_viewController.showView(category);
                        }});
    }
    m_stops.append({{}, [this] {
                        m_pen.plugIn();
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

/// Takes the picture of what was prepared before, and prepares what comes next.
void PictureTour::next()
{
    if (!m_shown.isEmpty())
        m_takePicture(shownWindow(), m_shown);
    if (m_stops.isEmpty()) {
        m_timer.stop();
        Q_EMIT finished();
        return;
    }
    const Stop stop = m_stops.takeFirst();
    m_shown = stop.name;
    stop.prepare();
}

QWidget *PictureTour::shownWindow() const
{
    QWidget *alert = QApplication::activeModalWidget();
    return alert != nullptr ? alert : m_viewController.window();
}
