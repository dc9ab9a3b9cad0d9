#include "library/MusicTableModel.h"

#include "base/Localization.h"
#include "base/PlainText.h"

using namespace Qt::StringLiterals;

namespace {

QString headerKey(int section)
{
    switch (section) {
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

} // namespace

void MusicTableModel::setMusic(const MusicList &music)
{
    beginResetModel();
    m_music = music;
    endResetModel();
}

void MusicTableModel::updateTexts()
{
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCountAll - 1);
}

int MusicTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_music.size());
}

int MusicTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columnCountAll;
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
    if (role == Qt::DisplayRole)
        return text(index);
    if (role == Qt::ToolTipRole)
        return shownAsItIs(text(index));
    if (role == Qt::AccessibleTextRole)
        return index.column() == image ? text(index.siblingAtColumn(title)) : text(index);
    return {};
}

QVariant MusicTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    const QString key = headerKey(section);
    return key.isEmpty() ? QString() : localized(key);
}
