#include "library/MusicTableModel.h"

#include "base/Localization.h"

#include <QCollator>

#include <algorithm>
#include <numeric>
#include <vector>
using namespace Qt::StringLiterals;

namespace {

QString headerKey(int column)
{
    switch (column) {
    case MusicTableModel::title:
        return u"titles"_s;
    case MusicTableModel::duration:
        return u"duration"_s;
    case MusicTableModel::interpret:
        return u"interpret"_s;
    case MusicTableModel::size:
        return u"size"_s;
    default:
        return {};
    }
}

/// Sorts by what `keyOf` tells of a file; equal ones stay in the order of the listing.
template <typename KeyOf>
void sortRows(QList<int> &rows, const MusicList &music, Qt::SortOrder order, const KeyOf &keyOf)
{
    using Key = decltype(keyOf(*music.constFirst()));
    std::vector<Key> keys;
    for (const auto &file : music)
        keys.push_back(keyOf(*file));
    std::stable_sort(rows.begin(), rows.end(), [&keys, order](int a, int b) {
        const bool isUp = order == Qt::AscendingOrder;
        return keys[size_t(isUp ? a : b)] < keys[size_t(isUp ? b : a)];
    });
}

/// As people of the current language sort, numbers by their value.
QCollator collator()
{
    QCollator collator{QLocale(currentLanguage())};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    return collator;
}

} // namespace

void MusicTableModel::setMusic(const MusicList &music)
{
    beginResetModel();
    m_listed = music;
    arrange();
    endResetModel();
}

void MusicTableModel::sort(int column, Qt::SortOrder order)
{
    if (column == image)
        return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    m_sortColumn = column;
    m_sortOrder = order;
    const QList<int> before = m_rows;
    arrange();
    QList<int> rowOf(m_rows.size());
    for (int row = 0; row < m_rows.size(); ++row)
        rowOf[m_rows.at(row)] = row;
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    for (const QModelIndex &index : from)
        to += this->index(rowOf.at(before.at(index.row())), index.column());
    changePersistentIndexList(from, to);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

QList<int> MusicTableModel::order() const
{
    QList<int> rows(m_listed.size());
    std::iota(rows.begin(), rows.end(), 0);
    const auto sortBy = [&](const auto &keyOf) {
        if (!rows.isEmpty())
            sortRows(rows, m_listed, m_sortOrder, keyOf);
    };
    const QCollator texts = collator();
    switch (m_sortColumn) {
    case title:
        sortBy([&texts](const Music &file) { return texts.sortKey(file.fileName); });
        break;
    case duration:
        sortBy([](const Music &file) { return file.seconds; });
        break;
    case interpret:
        sortBy([&texts](const Music &file) {
            return texts.sortKey(file.interpret.value_or(QString()));
        });
        break;
    case size:
        sortBy([](const Music &file) { return file.bytes; });
        break;
    default:
        break;
    }
    return rows;
}

void MusicTableModel::arrange()
{
    m_rows = order();
    m_music.clear();
    for (const int row : std::as_const(m_rows))
        m_music += m_listed.at(row);
}

int MusicTableModel::shownRows() const
{
    return static_cast<int>(m_music.size());
}

int MusicTableModel::shownColumns() const
{
    return columnCountAll;
}

QString MusicTableModel::titleKey(int column) const
{
    return headerKey(column);
}

QString MusicTableModel::text(const QModelIndex &index) const
{
    const Music &music = *m_music.at(index.row());
    switch (index.column()) {
    case title:
        return music.fileName;
    case duration:
        return music.duration.value_or(QString());
    case interpret:
        return music.interpret.value_or(QString());
    case size:
        return music.sizeString.value_or(QString());
    default:
        return {};
    }
}

QVariant MusicTableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::AccessibleTextRole && index.column() == image)
        return text(index.siblingAtColumn(title));
    return TitledTableModel::data(index, role);
}
