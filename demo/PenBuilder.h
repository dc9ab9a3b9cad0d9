#pragma once

#include <QString>

class DemoCatalogue;

/// Fills `folder` as a pen that has been in use for a while: most titles current, one out of date,
/// one without content, one without cover, one asked for; music, older system software, a usage
/// log. False when something could not be written or the system asks the program to end.
[[nodiscard]] bool buildPen(const DemoCatalogue &catalogue, const QString &folder);
