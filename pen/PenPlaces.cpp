#include "pen/PenPlaces.h"

#include "base/ApplicationLog.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"

using namespace Qt::StringLiterals;

PenPlaces::PenPlaces(const QUrl &root)
    : m_root(root)
    , m_bookPath(pathOf(book()))
{
}

std::optional<PenPlaces> PenPlaces::look()
{
    const std::optional<QUrl> root = URLFactory::getQuilloURL();
    if (!root)
        return std::nullopt;
    return PenPlaces(*root);
}

std::optional<PenPlaces> PenPlaces::lookForSettings()
{
    writeLog(u"in getSettingsFileURL"_s);
    writeLog(u"in getConfigureURL"_s);
    return look();
}

QUrl PenPlaces::book() const
{
    return URLFactory::fileURL(m_root, URLFactory::bookFolderName + u'/');
}

QUrl PenPlaces::configure() const
{
    return URLFactory::fileURL(m_root, URLFactory::configureFolderName + u'/');
}

QUrl PenPlaces::music() const
{
    return URLFactory::fileURL(m_root, URLFactory::musicFolderName + u'/');
}

QUrl PenPlaces::settingsFile() const
{
    return URLFactory::fileURL(configure(), URLFactory::fileName(u"settings"_s, FileType::ini));
}

QUrl PenPlaces::tbdFile() const
{
    return URLFactory::fileURL(configure(), URLFactory::fileName(u"tbd"_s, FileType::txt));
}

std::optional<QString> PenPlaces::titleFile(const QString &id, FileType type) const
{
    if (!isSafeFileName(id))
        return std::nullopt;
    return m_bookPath + URLFactory::fileName(id, type);
}
