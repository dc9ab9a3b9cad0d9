#pragma once

/// Who knows whether the pen is there.
class PenAvailability
{
public:
    virtual ~PenAvailability() = default;

    [[nodiscard]] virtual bool isQuilloAvailable() const = 0;
};
