#include "sync/PenTitles.h"

#include "pen/FileService.h"
#include "pen/URLFactory.h"
#include "sync/RequestAddresses.h"

PenTitles::PenTitles(const PenPlaces &pen, const ElementList &records)
{
    for (const ElementPtr &record : records)
        m_serverIds += record->id;
    const QStringList names = FileService::listFiles(pen.book(), QString());
    for (const QString &name : names) {
        m_names += name;
        m_ids += name.section(u'.', 0, 0);
    }
    m_ids.removeDuplicates();
    for (const QString &id : std::as_const(m_ids)) {
        if (id.contains(u'_'))
            m_idsOfMid[midOf(id)] += id;
    }
}

bool PenTitles::has(const QString &id, FileType type) const
{
    return m_names.contains(URLFactory::fileName(id, type));
}

QStringList PenTitles::getMissingFiles(FileType type) const
{
    QStringList ids = m_ids;
    ids.removeIf([this, type](const QString &id) { return has(id, type); });
    return ids;
}

QStringList PenTitles::getMissingIdsByQnk() const
{
    QStringList ids = getMissingFiles(FileType::qnk);
    ids.removeIf([this](const QString &id) { return !has(id, FileType::txt); });
    return ids;
}

QString PenTitles::identifierOf(const BaseElement &record) const
{
    if (has(record.id, FileType::txt) || has(record.id, FileType::qnk))
        return record.id;
    const QStringList ids = m_idsOfMid.value(record.mid);
    for (const FileType type : {FileType::txt, FileType::qnk}) {
        for (const QString &id : ids) {
            if (has(id, type) && !m_serverIds.contains(id))
                return id;
        }
    }
    return record.id;
}

QString PenTitles::midOf(const QString &id)
{
    return removeLeadingZeros(id.section(u'_', 0, 0));
}
