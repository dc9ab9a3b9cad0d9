#pragma once

/// What the storage page asks the main window for.
class PenAvailability
{
public:
    virtual ~PenAvailability() = default;

    [[nodiscard]] virtual bool isQuilloAvailable() const = 0;
};
