#include "library/ElementTableModel.h"

#include "library/CollectionViewItem.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString headerKey(int column)
{
    switch (column) {
    case ElementTableModel::titleColumn:
        return u"titles"_s;
    case ElementTableModel::publisherColumn:
        return u"publisher"_s;
    case ElementTableModel::authorColumn:
        return u"author"_s;
    default:
        return {};
    }
}

} // namespace

ElementTableModel::ElementTableModel(Form form, QObject *parent)
    : TitledTableModel(parent)
    , m_form(form)
{
}

int ElementTableModel::shownColumn(const QModelIndex &index) const
{
    return m_form == Form::Grid ? titleColumn : index.column();
}

QModelIndex ElementTableModel::titleIndex(int row) const
{
    return index(row, m_form == Form::Grid ? 0 : titleColumn);
}

void ElementTableModel::setElements(const ElementList &elements)
{
    beginResetModel();
    m_elements = elements;
    endResetModel();
}

void ElementTableModel::removeElements(const QStringList &ids)
{
    // From the end, so that the rows before keep their numbers.
    const QList<RowRange> ranges = rangesOf(ids);
    for (auto range = ranges.crbegin(); range != ranges.crend(); ++range) {
        beginRemoveRows({}, range->first, range->last);
        m_elements.remove(range->first, range->last - range->first + 1);
        endRemoveRows();
    }
}

QList<ElementTableModel::RowRange> ElementTableModel::rangesOf(const QStringList &ids) const
{
    QList<RowRange> ranges;
    for (const int row : rowsOf(ids)) {
        if (!ranges.isEmpty() && ranges.constLast().last == row - 1)
            ranges.last().last = row;
        else
            ranges.append({row, row});
    }
    return ranges;
}

int ElementTableModel::rowOf(const QString &id) const
{
    const auto found = std::find_if(m_elements.begin(), m_elements.end(),
                                    [&id](const ElementPtr &element) { return element->id == id; });
    return found == m_elements.end() ? -1 : static_cast<int>(found - m_elements.begin());
}

QList<int> ElementTableModel::rowsOf(const QStringList &ids) const
{
    const QSet<QString> wanted(ids.begin(), ids.end());
    QList<int> rows;
    for (int row = 0; row < m_elements.size(); ++row) {
        if (wanted.contains(m_elements.at(row)->id))
            rows.append(row);
    }
    return rows;
}

int ElementTableModel::shownRows() const
{
    return static_cast<int>(m_elements.size());
}

int ElementTableModel::shownColumns() const
{
    return m_form == Form::Grid ? 1 : columnCountAll;
}

QString ElementTableModel::titleKey(int column) const
{
    return headerKey(column);
}

QString ElementTableModel::text(const QModelIndex &index) const
{
    const BaseElement &element = *m_elements.at(index.row());
    switch (shownColumn(index)) {
    case titleColumn:
        return element.name;
    case publisherColumn:
        return element.publisher;
    case authorColumn:
        return element.author;
    default:
        return {};
    }
}

QVariant ElementTableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const BaseElement &element = *m_elements.at(index.row());
    if (role == Qt::AccessibleTextRole && shownColumn(index) == imageColumn)
        return element.name;
    if (role == Qt::AccessibleDescriptionRole)
        return m_form == Form::Grid ? CollectionViewItem::isbnText(element.isbn) : QString();
    return TitledTableModel::data(index, role);
}
