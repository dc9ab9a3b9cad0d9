#include "platform/FolderVisit.h"

#include <QFile>

#include <fcntl.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

thread_local const FolderVisit *currentVisit = nullptr;

QString withSlash(const QString &path)
{
    return path.endsWith(u'/') ? path : path + u'/';
}

} // namespace

FolderVisit::FolderVisit(const QString &folder, const QString &realPath,
                         const std::optional<QList<QUrl>> &volumes)
    : m_path(withSlash(folder))
    , m_realPath(withSlash(realPath))
    , m_volumes(volumes)
    , m_descriptor(::open(QFile::encodeName(m_realPath.chopped(1)).constData(),
                          O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC))
    , m_outer(std::exchange(currentVisit, this))
{
}

FolderVisit::~FolderVisit()
{
    currentVisit = m_outer;
}

const FolderVisit *FolderVisit::current()
{
    return currentVisit;
}

QByteArray FolderVisit::nameOf(const QString &path) const
{
    if (!m_descriptor.isOpen() || !path.startsWith(m_path)
        || path.indexOf(u'/', m_path.size()) >= 0)
        return {};
    const QByteArray name = QFile::encodeName(path.mid(m_path.size()));
    return name == "." || name == ".." ? QByteArray() : name;
}
