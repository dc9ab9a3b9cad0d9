#include "library/TitlesPage.h"

#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "library/ColoredTableView.h"
#include "library/ListController.h"
#include "library/TableViewUtil.h"

#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

constexpr int pageMargin = 20;
constexpr int sectionGap = 20;
constexpr int headerGap = 6;
constexpr qreal headerScale = 1.3;

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

int TitlesSection::rowCount() const
{
    return list->tableView->model()->rowCount();
}

TitlesPage::TitlesPage(QWidget *parent)
    : QScrollArea(parent)
    , stackview(new QVBoxLayout)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setPalette(contentPalette());
    verticalScrollBar()->setSingleStep(TableViewUtil::rowHeight / 2);
    setWidget(new QWidget);
    widget()->setLayout(stackview);
    stackview->setContentsMargins(pageMargin, pageMargin, pageMargin, pageMargin);
    stackview->setSpacing(0);
    stackview->addStretch(1); // below the sections, which stand at the top
}

bool TitlesPage::focusNextPrevChild(bool next)
{
    return QAbstractScrollArea::focusNextPrevChild(next);
}

void TitlesPage::placeSection(const TitlesSection &section)
{
    stackview->removeWidget(section.list);
    delete std::exchange(*section.header, nullptr);
    const bool empty = section.rowCount() == 0;
    section.list->setVisible(!empty);
    if (empty)
        return;
    TableViewUtil::fitToRows(*section.list->tableView);
    section.list->tableView->setAccessibleName(localized(section.key));
    *section.header = makeHeader(section.key, widget());
    section.list->layout()->setContentsMargins(0, 0, 0, sectionGap);
    stackview->insertWidget(stackview->count() - 1, *section.header);
    stackview->insertWidget(stackview->count() - 1, section.list);
    (*section.header)->show();
}

void TitlesPage::layOut()
{
    stackview->activate();
    const QSize seen = viewport()->size();
    widget()->resize(seen.width(), std::max(seen.height(), stackview->sizeHint().height()));
    stackview->activate();
}

int TitlesPage::rowTop(const TitlesSection &section, int row) const
{
    const QTableView &table = *section.list->tableView;
    return section.list->y() + table.y() + table.horizontalHeader()->height()
           + row * TableViewUtil::rowHeight;
}

void TitlesPage::showRow(const TitlesSection &section, int row)
{
    const int middle = rowTop(section, row) + TableViewUtil::rowHeight / 2;
    // With the column titles above the first row.
    const int above = row == 0 ? 2 * TableViewUtil::rowHeight : TableViewUtil::rowHeight / 2;
    ensureVisible(0, middle, 0, above);
}

TitlesPage::Place TitlesPage::place(std::span<const TitlesSection> sections) const
{
    Place place;
    place.value = scrollPosition();
    for (const TitlesSection &section : sections) {
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

void TitlesPage::restore(const Place &place)
{
    int value = place.value;
    if (place.section && value > 0) {
        const ElementList &titles = place.section->titles->elements();
        for (int row = 0; row < titles.size(); ++row) {
            if (titles.at(row)->id == place.id)
                value = rowTop(*place.section, row) - place.below;
        }
    }
    setScrollPosition(value);
}

int TitlesPage::scrollPosition() const
{
    return verticalScrollBar()->value();
}

void TitlesPage::setScrollPosition(int position)
{
    verticalScrollBar()->setValue(position);
}
