#include "library/MyQuilloTitlesController.h"

#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "base/ViewColors.h"
#include "base/ViewPlacement.h"
#include "library/ColoredTableView.h"
#include "library/ContentOwner.h"
#include "library/EmptyState.h"
#include "library/LibraryLists.h"
#include "library/TableViewUtil.h"
#include "platform/StandardOutput.h"

#include <QHeaderView>
#include <QLabel>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int pageMargin = 20;
constexpr int sectionGap = 20;
constexpr int headerGap = 6;
constexpr qreal headerScale = 1.3;

/// Leaves it to the lists which of their rows is brought into view.
class PageArea : public QScrollArea
{
public:
    using QScrollArea::QScrollArea;

protected:
    bool focusNextPrevChild(bool next) override
    {
        return QAbstractScrollArea::focusNextPrevChild(next);
    }
};

QLabel *makeHeader(const QString &key, QWidget *parent)
{
    auto *header = new QLabel(localized(key), parent);
    QFont font = header->font();
    font.setPointSizeF(font.pointSizeF() * headerScale);
    font.setBold(true);
    header->setFont(font);
    header->setContentsMargins(ColoredTableRowView::textMargin, 0, 0, headerGap);
    setColor(*header, QPalette::WindowText, ColorConstants::selectionColor());
    return header;
}

} // namespace

MyQuilloTitlesController::MyQuilloTitlesController(ContentOwner &viewController, QWidget *parent)
    : QWidget(parent)
    , m_viewController(viewController)
{
    buildPage();
    CoverCache &covers = viewController.coverCache();
    myQuilloBooksController = new MyQuillyBooksController(covers, m_page);
    myGamesController = new MyGamesController(covers, m_page);
    myLearningMaterialsController = new MyLearningMaterialsController(covers, m_page);
    myArchiveController = new MyArchivesController(covers, m_page);
    musicController = new MusicController(m_page);
    buildSections();
}

void MyQuilloTitlesController::buildPage()
{
    m_scrollArea = new PageArea(this);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scrollArea->setFocusPolicy(Qt::NoFocus);
    m_scrollArea->setPalette(contentPalette());
    m_scrollArea->verticalScrollBar()->setSingleStep(TableViewUtil::rowHeight / 2);
    m_page = new QWidget;
    m_scrollArea->setWidget(m_page);
    stackview = new QVBoxLayout(m_page);
    stackview->setContentsMargins(pageMargin, pageMargin, pageMargin, pageMargin);
    stackview->setSpacing(0);
    stackview->addStretch(1); // below the sections, which stand at the top
    pinEdges(*m_scrollArea, *this);
    m_empty = new EmptyStateView(EmptyStateView::Reason::EmptyLibrary, this);
    pinEdges(*m_empty, *this);
}

void MyQuilloTitlesController::buildSections()
{
    const auto titles = [](const QString &key, ListController *list, QLabel **header) {
        return Section{key, list, list, header};
    };
    m_sections = {
        titles(u"books"_s, myQuilloBooksController, &booksHeader),
        titles(u"games"_s, myGamesController, &gamesHeader),
        titles(u"learningMaterials"_s, myLearningMaterialsController, &learningMaterialHeader),
        titles(u"archive"_s, myArchiveController, &archivesHeader),
        Section{u"music"_s, musicController, nullptr, &musicHeader}};
    for (const Section &section : m_sections) {
        section.list->hide();
        section.list->selectionChangeHandler = [this, &section](const QList<int> &rows) {
            selectionChanged(section, rows);
        };
        connect(section.list->tableView, &ColoredTableView::rowWanted, this,
                [this, &section](int row) { showRow(section, row); });
        connect(section.list->tableView->selectionModel(), &QItemSelectionModel::currentRowChanged,
                this, [this, &section] { rowChanged(section); });
    }
}

void MyQuilloTitlesController::showLibrary()
{
    m_followsLibrary = true;
    setContents({bookList(), gameList(), learningMaterialList(), archiveList()}, musicList());
}

void MyQuilloTitlesController::show(const ElementList &books, const ElementList &games,
                                    const ElementList &learningMaterials,
                                    const ElementList &archives, const MusicList &music)
{
    m_followsLibrary = false;
    setContents({books, games, learningMaterials, archives}, music);
}

void MyQuilloTitlesController::setContents(const std::array<ElementList, 4> &titles,
                                           const MusicList &music)
{
    const QScopedValueRollback quiet(m_quiet, true);
    const Place kept = place();
    for (size_t i = 0; i < titles.size(); ++i)
        m_sections.at(i).titles->setElements(titles.at(i));
    musicController->setMusic(music);
    const bool focused = isAncestorOf(window()->focusWidget());
    for (const Section &section : m_sections)
        placeSection(section);
    QWidget *list = keyboardList();
    m_empty->setReason(emptyReason(m_viewController.isQuilloAvailable()));
    m_empty->setVisible(list == nullptr);
    m_scrollArea->setVisible(list != nullptr);
    setFocusProxy(list ? list : m_empty);
    // It has been lost with a list that has become empty.
    if (focused && !isAncestorOf(window()->focusWidget()))
        setFocus();
    layOut();
    restore(kept);
}

int MyQuilloTitlesController::Section::rowCount() const
{
    return list->tableView->model()->rowCount();
}

/// Where the keyboard was last, else the first one; null without any row.
QWidget *MyQuilloTitlesController::keyboardList() const
{
    if (m_sections.at(m_keyboardSection).rowCount() > 0)
        return m_sections.at(m_keyboardSection).list;
    for (const Section &section : m_sections) {
        if (section.rowCount() > 0)
            return section.list;
    }
    return nullptr;
}

void MyQuilloTitlesController::placeSection(const Section &section)
{
    stackview->removeWidget(section.list);
    delete std::exchange(*section.header, nullptr);
    const bool empty = section.rowCount() == 0;
    section.list->setVisible(!empty);
    if (empty)
        return;
    TableViewUtil::fitToRows(*section.list->tableView);
    section.list->tableView->setAccessibleName(localized(section.key));
    *section.header = makeHeader(section.key, m_page);
    section.list->layout()->setContentsMargins(0, 0, 0, sectionGap);
    stackview->insertWidget(stackview->count() - 1, *section.header);
    stackview->insertWidget(stackview->count() - 1, section.list);
    (*section.header)->show();
}

void MyQuilloTitlesController::selectionChanged(const Section &section, const QList<int> &rows)
{
    if (m_quiet)
        return;
    for (const Section &other : m_sections) {
        if (&other == &section)
            continue;
        other.list->deselectAll();
        print(u"Deselect all for "_s + QString::fromLatin1(other.list->metaObject()->className()));
    }
    provideSelection(section, rows);
}

void MyQuilloTitlesController::provideSelection(const Section &section, const QList<int> &rows)
{
    DeletionSelecting *selection = m_viewController.deletionSelection();
    if (selection == nullptr)
        return;
    if (section.titles == nullptr) {
        selection->clearSelectedElementIds();
        return;
    }
    QSet<QString> known;
    for (const ElementPtr &element : allElements())
        known.insert(element->id);
    QStringList ids;
    for (const int row : rows) {
        const QString &id = section.titles->elements().at(row)->id;
        if (known.contains(id))
            ids.append(id);
    }
    selection->setSelectedElementIds(ids);
}

void MyQuilloTitlesController::rowChanged(const Section &section)
{
    if (!m_quiet)
        m_keyboardSection = static_cast<size_t>(&section - m_sections.data());
}

QStringList MyQuilloTitlesController::markedIds() const
{
    QStringList ids;
    for (const Section &section : m_sections) {
        if (section.titles)
            ids += section.titles->selectedIds();
    }
    return ids;
}

void MyQuilloTitlesController::markChoice()
{
    for (const Section &section : m_sections) {
        if (section.titles)
            section.titles->markChoice();
    }
}

bool MyQuilloTitlesController::takeFocus()
{
    QWidget *list = keyboardList();
    if (list == nullptr)
        return false;
    setFocusProxy(list);
    setFocus();
    return true;
}

int MyQuilloTitlesController::rowTop(const Section &section, int row) const
{
    const QTableView &table = *section.list->tableView;
    return section.list->y() + table.y() + table.horizontalHeader()->height()
           + row * TableViewUtil::rowHeight;
}

void MyQuilloTitlesController::showRow(const Section &section, int row)
{
    if (m_quiet || row < 0)
        return;
    const int middle = rowTop(section, row) + TableViewUtil::rowHeight / 2;
    // With the column titles above the first row.
    const int above = row == 0 ? 2 * TableViewUtil::rowHeight : TableViewUtil::rowHeight / 2;
    m_scrollArea->ensureVisible(0, middle, 0, above);
}

void MyQuilloTitlesController::layOut()
{
    stackview->activate();
    const QSize seen = m_scrollArea->viewport()->size();
    m_page->resize(seen.width(), std::max(seen.height(), stackview->sizeHint().height()));
    stackview->activate();
}

MyQuilloTitlesController::Standing MyQuilloTitlesController::standing() const
{
    Standing standing;
    standing.scrollPosition = m_scrollArea->verticalScrollBar()->value();
    standing.section = m_keyboardSection;
    standing.row = m_sections.at(m_keyboardSection).list->tableView->currentIndex().row();
    return standing;
}

void MyQuilloTitlesController::setStanding(const Standing &standing)
{
    m_keyboardSection = standing.section;
    const Section &section = m_sections.at(m_keyboardSection);
    QTableView &table = *section.list->tableView;
    const int row = std::min(standing.row, table.model()->rowCount() - 1);
    if (row >= 0) {
        setFocusProxy(section.list);
        table.selectionModel()->setCurrentIndex(table.model()->index(row, 0),
                                                QItemSelectionModel::NoUpdate);
    }
    m_scrollPosition = standing.scrollPosition;
    if (isVisible())
        scrollAsWanted();
}

void MyQuilloTitlesController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (m_scrollPosition)
        scrollAsWanted();
    else
        showMarked();
}

/// Who comes to the page sees what is chosen in it.
void MyQuilloTitlesController::showMarked()
{
    layOut();
    for (const Section &section : m_sections) {
        const QList<int> rows = section.titles ? section.list->selectedRows() : QList<int>();
        if (rows.isEmpty())
            continue;
        showRow(section, rows.first());
        return;
    }
}

void MyQuilloTitlesController::scrollAsWanted()
{
    layOut();
    m_scrollArea->verticalScrollBar()->setValue(*std::exchange(m_scrollPosition, std::nullopt));
}

MyQuilloTitlesController::Place MyQuilloTitlesController::place() const
{
    Place place;
    place.value = m_scrollArea->verticalScrollBar()->value();
    for (const Section &section : m_sections) {
        const bool reaches = section.list->geometry().bottom() > place.value;
        if (section.titles == nullptr || section.titles->elements().isEmpty() || !reaches)
            continue;
        const int above = std::max(0, place.value - rowTop(section, 0));
        const auto count = static_cast<int>(section.titles->elements().size());
        const int row = std::min(above / TableViewUtil::rowHeight, count - 1);
        place.section = &section;
        place.id = section.titles->elements().at(row)->id;
        place.below = rowTop(section, row) - place.value;
        return place;
    }
    return place;
}

void MyQuilloTitlesController::restore(const Place &place)
{
    int value = place.value;
    if (place.section && value > 0) {
        const ElementList &titles = place.section->titles->elements();
        for (int row = 0; row < titles.size(); ++row) {
            if (titles.at(row)->id == place.id)
                value = rowTop(*place.section, row) - place.below;
        }
    }
    m_scrollArea->verticalScrollBar()->setValue(value);
}

void MyQuilloTitlesController::willDelete(const QStringList &ids)
{
    const QScopedValueRollback quiet(m_quiet, true);
    std::optional<size_t> first;
    for (size_t i = 0; i < m_sections.size(); ++i) {
        const Section &section = m_sections.at(i);
        const int before = section.rowCount();
        if (section.titles)
            section.titles->removeElements(ids);
        if (!first && section.rowCount() < before)
            first = i;
        if (*section.header)
            TableViewUtil::fitToRows(*section.list->tableView);
    }
    if (first)
        standNextTo(*first);
}

/// The keyboard goes on in this section; when that is empty, at the beginning of the next one, or
/// at the end of the one before.
void MyQuilloTitlesController::standNextTo(size_t section)
{
    const auto isEmpty = [this](size_t i) {
        return m_sections.at(i).rowCount() == 0;
    };
    size_t place = section;
    while (place < m_sections.size() && isEmpty(place))
        ++place;
    const bool isLast = place == m_sections.size();
    if (isLast)
        place = section;
    while (isLast && place > 0 && isEmpty(place))
        --place;
    m_keyboardSection = place;
    setFocusProxy(keyboardList());
    if (place == section || isEmpty(place))
        return;
    QTableView &table = *m_sections.at(place).list->tableView;
    const QModelIndex row = table.model()->index(isLast ? table.model()->rowCount() - 1 : 0, 0);
    table.selectionModel()->setCurrentIndex(row, QItemSelectionModel::NoUpdate);
}

/// A slide that goes with the page asks for no new one.
MyQuilloTitlesController::~MyQuilloTitlesController()
{
    if (QWidget *slide = runningSlide())
        slide->disconnect(this);
}

QWidget *MyQuilloTitlesController::runningSlide() const
{
    for (const Section &section : m_sections) {
        if (section.list->tableView->slide())
            return section.list->tableView->slide();
    }
    return nullptr;
}

void MyQuilloTitlesController::didDelete()
{
    // The rows come to rest before the page makes room for a new one.
    if (const QWidget *slide = runningSlide())
        connect(slide, &QObject::destroyed, this, &MyQuilloTitlesController::rebuild);
    else
        rebuild();
}

void MyQuilloTitlesController::rebuild()
{
    // The person may have gone on to another category meanwhile.
    if (!isHidden())
        m_viewController.showTitlesView();
}

QTableView *MyQuilloTitlesController::listTable()
{
    for (const Section &section : m_sections) {
        if (!section.list->selectedRows().isEmpty())
            return section.list->tableView;
    }
    return myQuilloBooksController->tableView;
}

void MyQuilloTitlesController::languageChanged()
{
    for (const Section &section : m_sections) {
        section.list->languageChanged();
        section.list->tableView->setAccessibleName(localized(section.key));
        if (*section.header)
            (*section.header)->setText(localized(section.key));
    }
    m_empty->languageChanged();
}

void MyQuilloTitlesController::libraryChanged()
{
    if (m_followsLibrary)
        showLibrary();
}
