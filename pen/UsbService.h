#pragma once

#include "pen/PenPlaces.h"

#include <QString>

#include <optional>

/// Whether the pen is plugged in and what its volume is called. Any thread.
class UsbService
{
public:
    /// The connected test: the pen's volume is mounted and its settings file holds text.
    [[nodiscard]] static bool isQuilloConnected();
    /// The same test, and the pen's places from the look it took; absent when it fails.
    [[nodiscard]] static std::optional<PenPlaces> connectedPen();

    /// The volume's name as the root address spells it ("NO%20NAME"); absent without pen.
    [[nodiscard]] static std::optional<QString> getQuilloName();

    /// Whether the volume of that name, spelled as by getQuilloName(), is mounted. Writes no log.
    [[nodiscard]] static bool isMounted(const QString &quilloName);

    /// Whether a mounted or unmounted volume of this name may be the pen; looser than the test that
    /// finds the pen's root.
    [[nodiscard]] static bool canDeviceNameBeQuillo(const QString &name);
};
