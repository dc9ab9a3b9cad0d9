#include "library/KnownFiles.h"

#include "pen/FileService.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"

std::optional<QString> KnownFiles::text(const QString &path)
{
    if (const int writings = FileService::writings(); writings != m_writings) {
        m_writings = writings;
        m_texts.clear();
    }
    const auto known = m_texts.constFind(path);
    if (known != m_texts.constEnd() && known->stamp == FileManager::stampOf(path))
        return QString::fromUtf8(known->utf8);
    FileManager::Stamp stamp;
    std::optional<QString> text = FileService::getFileContent(urlOf(path), &stamp);
    if (text)
        m_texts.insert(path, {stamp, text->toUtf8()});
    else
        m_texts.remove(path);
    return text;
}

std::optional<CoverImage> KnownFiles::cover(const QString &path, const CoverReader &read)
{
    const auto known = m_covers.constFind(path);
    if (known != m_covers.constEnd() && known->stamp == FileManager::stampOf(path))
        return known->image;
    FileManager::Stamp stamp;
    std::optional<CoverImage> image = read(path, stamp);
    if (stamp != FileManager::Stamp()) // else it could not be read
        m_covers.insert(path, {stamp, image});
    else
        m_covers.remove(path);
    return image;
}

void KnownFiles::reserve(qsizetype titles)
{
    m_texts.reserve(titles);
    m_covers.reserve(titles);
}

void KnownFiles::forget()
{
    *this = {};
}

KnownFiles &knownFiles()
{
    Q_ASSERT(Dispatch::isMainThread());
    static KnownFiles files;
    return files;
}
