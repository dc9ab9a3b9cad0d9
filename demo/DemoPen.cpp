#include "demo/DemoPen.h"

#include "demo/DemoCatalogue.h"
#include "demo/PenBuilder.h"
#include "demo/PenFirmware.h"
#include "platform/TerminationSignals.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

const QString volumeName = u"QUILLO"_s;

} // namespace

QString DemoPen::volumesFolder() const
{
    return m_scratch.filePath(u"volumes"_s);
}

QString DemoPen::scratchFolder() const
{
    return m_scratch.path();
}

QString DemoPen::prepare(const DemoCatalogue &catalogue, const QString &givenFolder)
{
    const QString drawer = m_scratch.filePath(u"drawer"_s);
    const QString pen = drawer + u'/' + volumeName;
    if (!m_scratch.isValid() || !QDir().mkpath(volumesFolder()) || !QDir().mkpath(drawer))
        return m_scratch.errorString();
    const bool own = givenFolder.isEmpty();
    if (!QDir().mkpath(own ? pen : givenFolder))
        return u"Cannot make the folder %1."_s.arg(own ? pen : givenFolder);
    if (!own && !QFile::link(QFileInfo(givenFolder).canonicalFilePath(), pen))
        return u"Cannot use the folder %1."_s.arg(givenFolder);
    const bool inUse = QFileInfo::exists(pen + u"/configure/settings.ini"_s);
    if (!inUse && !buildPen(catalogue, pen)) {
        return TerminationSignals::haveCome()
                   ? u"Ended early, while the pen was made."_s
                   : u"Cannot fill the folder %1."_s.arg(own ? pen : givenFolder);
    }
    plugIn();
    return {};
}

QString DemoPen::folder() const
{
    return (isPluggedIn() ? volumesFolder() : m_scratch.filePath(u"drawer"_s)) + u'/' + volumeName;
}

bool DemoPen::isPluggedIn() const
{
    return QFileInfo::exists(volumesFolder() + u'/' + volumeName);
}

void DemoPen::plugIn()
{
    QFile::rename(m_scratch.filePath(u"drawer/"_s + volumeName),
                  volumesFolder() + u'/' + volumeName);
}

void DemoPen::pullOut()
{
    const QString drawer = m_scratch.filePath(u"drawer/"_s + volumeName);
    if (QFile::rename(volumesFolder() + u'/' + volumeName, drawer))
        installSystemSoftware(drawer);
}
