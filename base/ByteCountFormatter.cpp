#include "base/ByteCountFormatter.h"

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

struct Unit
{
    double bytes;
    double parts; ///< of one, as many as are told
    QLatin1String name;
};
constexpr std::array units = {Unit{1e3, 1, "kB"_L1}, Unit{1e6, 10, "MB"_L1},
                              Unit{1e9, 100, "GB"_L1}, Unit{1e12, 100, "TB"_L1}};

} // namespace

ByteCountFormatter::ByteCountFormatter(const QString &language)
    : m_language(language)
    , m_locale(language)
{
}

QString ByteCountFormatter::string(qint64 bytes) const
{
    if (bytes < 1000)
        return m_locale.formattedDataSize(bytes, 0, QLocale::DataSizeSIFormat);
    for (const Unit &unit : units) {
        const double count = std::round(double(bytes) / unit.bytes * unit.parts) / unit.parts;
        // What is rounded up to a thousand is one of the next.
        if (count < 1000 || unit.name == units.back().name)
            return m_locale.toString(count, 'f', QLocale::FloatingPointShortest) + u' ' + unit.name;
    }
    return {};
}
