#include "library/MyQuilloTitlesController.h"

#include "base/ViewPlacement.h"
#include "library/ColoredTableView.h"
#include "library/ContentOwner.h"
#include "library/EmptyState.h"
#include "library/LibraryLists.h"
#include "library/SearchViewController.h"
#include "library/TableViewUtil.h"
#include "platform/StandardOutput.h"

#include <QAccessible>
#include <QLabel>
#include <QScopedValueRollback>
#include <QSet>

using namespace Qt::StringLiterals;

MyQuilloTitlesController::MyQuilloTitlesController(ContentOwner &viewController, QWidget *parent)
    : QWidget(parent)
    , m_viewController(viewController)
    , m_page(new TitlesPage(this))
    , m_empty(new EmptyStateView(EmptyStateView::Reason::EmptyLibrary, this))
{
    pinEdges(*m_page, *this);
    pinEdges(*m_empty, *this);
    QWidget *page = m_page->widget();
    CoverCache &covers = viewController.coverCache();
    myQuilloBooksController = new MyQuillyBooksController(covers, page);
    myGamesController = new MyGamesController(covers, page);
    myLearningMaterialsController = new MyLearningMaterialsController(covers, page);
    myArchiveController = new MyArchivesController(covers, page);
    musicController = new MusicController(viewController, page);
    buildSections();
}

void MyQuilloTitlesController::buildSections()
{
    const auto titles = [](const QString &key, ListController *list, QLabel **header) {
        return TitlesSection{key, list, list, header};
    };
    m_sections = {
        titles(u"books"_s, myQuilloBooksController, &booksHeader),
        titles(u"games"_s, myGamesController, &gamesHeader),
        titles(u"learningMaterials"_s, myLearningMaterialsController, &learningMaterialHeader),
        titles(u"archive"_s, myArchiveController, &archivesHeader),
        TitlesSection{u"music"_s, musicController, nullptr, &musicHeader}};
    for (const TitlesSection &section : m_sections) {
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
    m_words.reset();
    setContents({bookList(), gameList(), learningMaterialList(), archiveList()}, musicList());
}

void MyQuilloTitlesController::showFound(const QString &words)
{
    m_followsLibrary = true;
    m_words = words;
    setContents({foundBookList(), foundGameList(), foundLearningMaterialList(), foundArchiveList()},
                foundMusicList());
}

void MyQuilloTitlesController::show(const ElementList &books, const ElementList &games,
                                    const ElementList &learningMaterials,
                                    const ElementList &archives, const MusicList &music)
{
    m_followsLibrary = false;
    m_words.reset();
    setContents({books, games, learningMaterials, archives}, music);
}

void MyQuilloTitlesController::setContents(const std::array<ElementList, 4> &titles,
                                           const MusicList &music)
{
    const QScopedValueRollback quiet(m_quiet, true);
    const TitlesPage::Place kept = m_page->place(m_sections);
    for (size_t i = 0; i < titles.size(); ++i)
        m_sections.at(i).titles->setElements(titles.at(i));
    musicController->setMusic(music);
    const bool focused = isAncestorOf(window()->focusWidget());
    for (const TitlesSection &section : m_sections)
        m_page->placeSection(section);
    QWidget *list = keyboardList();
    showEmptiness();
    m_empty->setVisible(list == nullptr);
    m_page->setVisible(list != nullptr);
    updateAccessibleName();
    setFocusProxy(list ? list : m_empty);
    // It has been lost with a list that has become empty.
    if (focused && !isAncestorOf(window()->focusWidget()))
        setFocus();
    m_page->layOut();
    m_page->restore(kept);
}

void MyQuilloTitlesController::showEmptiness()
{
    const EmptyStateView::Reason reason = emptyReason(m_viewController.isQuilloAvailable());
    if (m_words && reason == EmptyStateView::Reason::EmptyCategory)
        m_empty->showNothingFound(*m_words);
    else
        m_empty->setReason(reason);
}

/// What a search has come to is heard where it is not seen.
void MyQuilloTitlesController::updateAccessibleName()
{
    int count = 0;
    for (const TitlesSection &section : m_sections)
        count += section.rowCount();
    if (!m_words)
        setAccessibleName({});
    else if (count == 0)
        setAccessibleName(m_empty->accessibleName());
    else
        setAccessibleName(localized(u"found_count"_s).replace(u"%@"_s, QString::number(count)));
}

/// Where the keyboard was last, else the first one; null without any row.
QWidget *MyQuilloTitlesController::keyboardList() const
{
    if (m_sections.at(m_keyboardSection).rowCount() > 0)
        return m_sections.at(m_keyboardSection).list;
    for (const TitlesSection &section : m_sections) {
        if (section.rowCount() > 0)
            return section.list;
    }
    return nullptr;
}

void MyQuilloTitlesController::selectionChanged(const TitlesSection &section,
                                                const QList<int> &rows)
{
    if (m_quiet)
        return;
    for (const TitlesSection &other : m_sections) {
        if (&other == &section)
            continue;
        other.list->deselectAll();
        print(u"Deselect all for "_s + QString::fromLatin1(other.list->metaObject()->className()));
    }
    provideSelection(section, rows);
}

void MyQuilloTitlesController::provideSelection(const TitlesSection &section,
                                                const QList<int> &rows)
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

void MyQuilloTitlesController::rowChanged(const TitlesSection &section)
{
    if (!m_quiet)
        m_keyboardSection = static_cast<size_t>(&section - m_sections.data());
}

QStringList MyQuilloTitlesController::markedIds() const
{
    QStringList ids;
    for (const TitlesSection &section : m_sections) {
        if (section.titles)
            ids += section.titles->selectedIds();
    }
    return ids;
}

void MyQuilloTitlesController::markChoice()
{
    for (const TitlesSection &section : m_sections) {
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

void MyQuilloTitlesController::showRow(const TitlesSection &section, int row)
{
    if (!m_quiet && row >= 0)
        m_page->showRow(section, row);
}

MyQuilloTitlesController::Standing MyQuilloTitlesController::standing() const
{
    Standing standing;
    standing.scrollPosition = m_page->scrollPosition();
    standing.section = m_keyboardSection;
    standing.row = m_sections.at(m_keyboardSection).list->tableView->currentIndex().row();
    return standing;
}

void MyQuilloTitlesController::setStanding(const Standing &standing)
{
    m_keyboardSection = standing.section;
    const TitlesSection &section = m_sections.at(m_keyboardSection);
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
    if (m_words && !event->spontaneous()) {
        QAccessibleEvent found(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&found);
    }
    if (m_scrollPosition)
        scrollAsWanted();
    else
        showMarked();
}

/// Who comes to the page sees what is chosen in it.
void MyQuilloTitlesController::showMarked()
{
    m_page->layOut();
    for (const TitlesSection &section : m_sections) {
        const QList<int> rows = section.titles ? section.list->selectedRows() : QList<int>();
        if (rows.isEmpty())
            continue;
        showRow(section, rows.first());
        return;
    }
}

void MyQuilloTitlesController::scrollAsWanted()
{
    m_page->layOut();
    m_page->setScrollPosition(*std::exchange(m_scrollPosition, std::nullopt));
}

void MyQuilloTitlesController::willDelete(const QStringList &ids)
{
    const QScopedValueRollback quiet(m_quiet, true);
    std::optional<size_t> first;
    for (size_t i = 0; i < m_sections.size(); ++i) {
        const TitlesSection &section = m_sections.at(i);
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
    for (const TitlesSection &section : m_sections) {
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
    if (isHidden())
        return;
    if (!m_words) {
        m_viewController.showTitlesView();
        return;
    }
    SearchViewController::filter(*m_words);
    m_viewController.showFoundTitles(*m_words);
}

QTableView *MyQuilloTitlesController::listTable()
{
    for (const TitlesSection &section : m_sections) {
        if (!section.list->selectedRows().isEmpty())
            return section.list->tableView;
    }
    return myQuilloBooksController->tableView;
}

void MyQuilloTitlesController::languageChanged()
{
    for (const TitlesSection &section : m_sections) {
        section.list->languageChanged();
        section.list->tableView->setAccessibleName(localized(section.key));
        if (*section.header)
            (*section.header)->setText(localized(section.key));
    }
    m_empty->languageChanged();
    updateAccessibleName();
}

void MyQuilloTitlesController::libraryChanged()
{
    if (!m_followsLibrary)
        return;
    if (!m_words) {
        showLibrary();
        return;
    }
    SearchViewController::filter(*m_words);
    showFound(*m_words);
}
