#pragma once

#include <QString>
#include <QTemporaryDir>

class DemoCatalogue;

/// The simulated pen: a folder that stands among the volumes while it is plugged in. Everything but
/// a folder given by the user is removed with this object.
class DemoPen
{
public:
    /// The folder whose subfolders are the volumes, for FolderVolumes.
    [[nodiscard]] QString volumesFolder() const;
    /// A folder for what else the demo needs to store.
    [[nodiscard]] QString scratchFolder() const;

    /// Makes a pen and plugs it in. With `givenFolder` that folder is the pen; it is filled only
    /// when it has no settings file yet. The error in words; empty on success.
    [[nodiscard]] QString prepare(const DemoCatalogue &catalogue, const QString &givenFolder);

    /// The pen's own folder, plugged in or not.
    [[nodiscard]] QString folder() const;

    [[nodiscard]] bool isPluggedIn() const;
    void plugIn();
    /// The pen is switched on then, and takes up new system software.
    void pullOut();

private:
    QTemporaryDir m_scratch;
};
