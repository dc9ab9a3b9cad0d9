#include "demo/DemoCatalogue.h"

#include "demo/CoverPainter.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int manyCovers = 200; // beyond, covers are small so that the pen is made quickly
constexpr int largestRequestedMid = 9999; // the pen's list has four digits
constexpr qint64 kibibyte = 1024;

} // namespace

DemoCatalogue::DemoCatalogue(quint32 seed, int count)
    : m_titles(inventTitles(seed, count))
    , m_coverSize(count > manyCovers ? QSize(300, 400) : QSize(600, 800))
{
    constexpr std::array states = {PenState::Requested, PenState::OutOfDate,
                                   PenState::WithoutContent, PenState::WithoutCover};
    for (qsizetype i = 0; i < m_titles.size(); ++i)
        m_indexOfMid.insert(m_titles.at(i).mid, i);
    // Spread over the list, so that they are of different kinds and not neighbours on the shelf.
    for (qsizetype i = 0; i < std::min(m_titles.size(), qsizetype(states.size())); ++i) {
        DemoTitle &title = m_titles[i * m_titles.size() / qsizetype(states.size())];
        if (title.mid > largestRequestedMid)
            continue;
        m_states.insert(title.mid, states[size_t(i)]);
        if (count <= manyCovers)
            title.contentBytes = (2 + i) * 1000 * kibibyte + title.contentBytes;
    }
}

std::optional<DemoTitle> DemoCatalogue::title(int mid) const
{
    const auto index = m_indexOfMid.constFind(mid);
    if (index == m_indexOfMid.constEnd())
        return std::nullopt;
    return m_titles.at(*index);
}

DemoCatalogue::PenState DemoCatalogue::penState(const DemoTitle &title) const
{
    return m_states.value(title.mid, PenState::Current);
}

int DemoCatalogue::penVersion(const DemoTitle &title, PenState state)
{
    return state == PenState::OutOfDate ? title.version - 1 : title.version;
}

DemoContent DemoCatalogue::content(const DemoTitle &title, int version) const
{
    return DemoContent(u"%1 %2"_s.arg(title.id()).arg(version), title.contentBytes);
}

QByteArray DemoCatalogue::cover(const DemoTitle &title) const
{
    return paintCover(title, m_coverSize);
}

DemoContent DemoCatalogue::firmware()
{
    return DemoContent(firmwareFileName(), 1500 * kibibyte);
}

DemoContent DemoCatalogue::image()
{
    return DemoContent(imageFileName(), 6000 * kibibyte);
}

QString DemoCatalogue::firmwareFileName()
{
    return u"firmwareV%1.bin"_s.arg(firmwareVersion);
}

QString DemoCatalogue::imageFileName()
{
    return u"imageisoV%1.iso"_s.arg(imageVersion);
}
