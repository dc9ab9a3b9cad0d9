#pragma once

#include "demo/DemoCatalogue.h"
#include "demo/DemoOptions.h"
#include "demo/DemoPen.h"
#include "demo/DemoRadio.h"
#include "demo/DemoServers.h"

#include <QString>

#include <memory>

class VolumeSource;

/// The simulated surroundings of the program. Outlives the application object.
class DemoSetup
{
public:
    explicit DemoSetup(const DemoOptions &options);

    /// The platform plug-in of a headless run, with a screen that the main window fits on; to be
    /// set before the application object is made.
    [[nodiscard]] QByteArray headlessPlatform() const;

    /// Makes the pen, starts the servers and leads the program to them; returns the volumes in any
    /// case. Needs the application object for the fonts on the covers.
    [[nodiscard]] std::unique_ptr<VolumeSource> makeVolumes();
    /// Why makeVolumes() could not do all; empty when it did.
    [[nodiscard]] const QString &error() const { return m_error; }

    [[nodiscard]] const DemoCatalogue &catalogue() const { return m_catalogue; }
    [[nodiscard]] DemoPen &pen() { return m_pen; }
    [[nodiscard]] DemoRadio &radio() { return m_radio; }
    [[nodiscard]] DemoServers &servers() { return m_servers; }

    void setSlowNetwork(bool slow);

private:
    [[nodiscard]] QString prepare();

    DemoOptions m_options;
    DemoCatalogue m_catalogue;
    DemoPen m_pen;
    DemoRadio m_radio;
    DemoServers m_servers;
    QString m_error;
};
