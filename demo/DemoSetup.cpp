#include "demo/DemoSetup.h"

#include "demo/DemoConfiguration.h"
#include "platform/Bundle.h"
#include "platform/FolderVolumes.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

// Bytes per second, such that a run can be watched.
constexpr qint64 usualNetwork = 3'000'000;
constexpr qint64 slowNetwork = 150'000;
constexpr qint64 headlessNetwork = 20'000'000;

// Without it the plug-in has a screen of 800 x 800.
constexpr const char *screens = R"({"screens": [{"name": "screen", "x": 0, "y": 0,
    "width": 1920, "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";

} // namespace

DemoSetup::DemoSetup(const DemoOptions &options)
    : m_options(options)
    , m_catalogue(options.seed, options.titles)
    , m_servers(m_catalogue)
{
}

QByteArray DemoSetup::headlessPlatform() const
{
    const QString path = m_pen.scratchFolder() + u"/screens.json"_s;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(screens) < 0)
        return "offscreen";
    return "offscreen:configfile=" + QFile::encodeName(path);
}

std::unique_ptr<VolumeSource> DemoSetup::makeVolumes()
{
    m_error = prepare();
    return std::make_unique<FolderVolumes>(m_pen.volumesFolder());
}

void DemoSetup::setSlowNetwork(bool slow)
{
    m_servers.setBytesPerSecond(slow ? slowNetwork : usualNetwork);
}

QString DemoSetup::prepare()
{
    if (const QString error = m_pen.prepare(m_catalogue, m_options.penFolder); !error.isEmpty())
        return error;
    m_servers.setBytesPerSecond(m_options.headless ? headlessNetwork : usualNetwork);
    if (!m_servers.start())
        return u"The servers cannot listen on 127.0.0.1."_s;
    const QString configuration = m_pen.scratchFolder() + u"/Url.plist"_s;
    if (!writeConfiguration(m_servers, configuration))
        return u"Cannot write %1."_s.arg(configuration);
    Bundle::setConfigurationFile(configuration);
    return {};
}
