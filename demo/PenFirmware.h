#pragma once

#include <QString>

/// What the pen itself does when it is switched on without the computer: it takes up the newest
/// system software that lies in its "configure" folder, notes the versions and removes the files.
void installSystemSoftware(const QString &penFolder);
