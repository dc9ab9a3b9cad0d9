#pragma once

#include "demo/DemoContent.h"
#include "demo/DemoTitles.h"

#include <QHash>
#include <QSize>

#include <optional>

/// What the servers hold, and in which state the pen is when it is first plugged in. Never changes
/// once made; any thread.
class DemoCatalogue
{
public:
    /// How a title stands on the pen at first.
    enum class PenState { Current, OutOfDate, WithoutContent, WithoutCover, Requested };

    DemoCatalogue(quint32 seed, int count);

    [[nodiscard]] const QList<DemoTitle> &titles() const { return m_titles; }
    /// Absent when no title has that MID.
    [[nodiscard]] std::optional<DemoTitle> title(int mid) const;
    [[nodiscard]] PenState penState(const DemoTitle &title) const;
    /// The version on the pen at first.
    [[nodiscard]] static int penVersion(const DemoTitle &title, PenState state);

    /// The content file of one version of a title.
    [[nodiscard]] DemoContent content(const DemoTitle &title, int version) const;
    /// The cover as a PNG; painted anew by every call.
    [[nodiscard]] QByteArray cover(const DemoTitle &title) const;

    static constexpr int firmwareVersion = 14;
    static constexpr int firmwareVersionOnPen = 12;
    static constexpr int imageVersion = 7;
    static constexpr int imageVersionOnPen = 6;
    [[nodiscard]] static DemoContent firmware();
    [[nodiscard]] static DemoContent image();
    /// The name of the file, on the server as on the pen.
    [[nodiscard]] static QString firmwareFileName();
    [[nodiscard]] static QString imageFileName();

private:
    QList<DemoTitle> m_titles;
    QHash<int, qsizetype> m_indexOfMid;
    QHash<int, PenState> m_states; ///< of the titles that are not current
    QSize m_coverSize;
};
