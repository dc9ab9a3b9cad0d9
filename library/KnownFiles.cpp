#include "library/KnownFiles.h"

#include "pen/FileService.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"

std::optional<QString> KnownFiles::text(const QUrl &file)
{
    if (const int writings = FileService::writings(); writings != m_writings) {
        m_writings = writings;
        m_texts.clear();
    }
    const QString path = pathOf(file);
    // Before the file is read: one that is changed meanwhile is another one the next time.
    const std::optional<FileManager::Stamp> stamp = FileManager::stampOf(path);
    const auto known = m_texts.constFind(path);
    if (stamp && known != m_texts.constEnd() && known->stamp == *stamp)
        return QString::fromUtf8(known->utf8);
    std::optional<QString> text = FileService::getFileContent(file);
    if (stamp && text)
        m_texts.insert(path, {*stamp, text->toUtf8()});
    else
        m_texts.remove(path);
    return text;
}

std::optional<CoverImage> KnownFiles::cover(const QString &path, const CoverReader &read)
{
    const std::optional<FileManager::Stamp> stamp = FileManager::stampOf(path);
    const auto known = m_covers.constFind(path);
    if (stamp && known != m_covers.constEnd() && known->stamp == *stamp)
        return known->image;
    std::optional<CoverImage> image = read(path);
    if (stamp && image != dummyCover()) // of which it may just not have been possible to read it
        m_covers.insert(path, {*stamp, image});
    else
        m_covers.remove(path);
    return image;
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
