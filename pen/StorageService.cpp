#include "pen/StorageService.h"

#include "base/ApplicationLog.h"
#include "base/Localization.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"

#include <QLocale>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double bytesPerUnit = 1024.0 * 1024.0 * 1024.0;

/// Halves go away from zero.
double rounded(double value, int places)
{
    const double factor = std::pow(10, places);
    return std::round(value * factor) / factor;
}

/// The shortest digits that mean this value, with at least one behind the point.
QString decimalText(double value)
{
    const QString digits = QString::number(value, 'f', QLocale::FloatingPointShortest);
    return digits.contains(u'.') ? digits : digits + u".0"_s;
}

QString numberText(double value)
{
    return LanguageService::numberText(decimalText(value));
}

} // namespace

StorageValues StorageService::getStorageValues()
{
    const std::optional<QUrl> root = URLFactory::getQuilloURL();
    if (!root)
        return {};
    const auto attributes = FileManager::attributesOfFileSystem(pathOf(*root));
    return attributes ? storageValues(*attributes) : StorageValues();
}

StorageTexts StorageService::updateStorageValues()
{
    writeLog(u"updateStorageValues Beginn"_s);
    const StorageTexts texts = storageTexts(getStorageValues());
    writeLog(u"updateStorageValues Ende"_s);
    return texts;
}

StorageValues StorageService::storageValues(const FileManager::FileSystemAttributes &attributes)
{
    const double free = static_cast<double>(attributes.freeSize) / bytesPerUnit;
    StorageValues values;
    values.total = static_cast<double>(attributes.size) / bytesPerUnit;
    values.used = values.total - free;
    values.percent = values.total > 0 ? values.used / values.total * 100 : 0;
    return values;
}

StorageTexts StorageService::storageTexts(const StorageValues &values)
{
    const QString occupied = localized(u"occupied"_s);
    StorageTexts texts;
    texts.percent = rounded(values.percent, 0);
    texts.percentText = numberText(texts.percent);
    texts.storageText = numberText(rounded(values.used, 2)) + u' ' + localized(u"gb"_s) + u' '
                        + occupied + u' ' + localized(u"of"_s) + u' '
                        + numberText(rounded(values.total, 2)) + u" GB"_s;
    texts.percentLabelText = decimalText(texts.percent) + u" % "_s + occupied + u' ';
    return texts;
}
