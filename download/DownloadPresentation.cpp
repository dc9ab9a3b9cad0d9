#include "download/DownloadPresentation.h"

#include "base/ByteCountFormatter.h"
#include "base/Localization.h"
#include "platform/FileFailure.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString systemSoftwarePart(const QueueCounts &counts)
{
    return QString::number(std::min(counts.index, counts.systemSoftware))
           + localized(u"label_systemsoftware"_s);
}

QString mediaPart(const QueueCounts &counts)
{
    const int position =
        counts.index < counts.systemSoftware ? counts.index : counts.index - counts.systemSoftware;
    if (counts.medias == 1)
        return QString::number(position) + localized(u"label_media"_s);
    return QString::number(position) + localized(u"label_of"_s) + QString::number(counts.medias)
           + localized(u"label_medias"_s);
}

QString sizeText(qint64 bytes)
{
    // Stays in one line.
    return ByteCountFormatter(currentLanguage()).string(bytes).replace(u' ', QChar::Nbsp);
}

QString reasonKey(FileFailure::Reason reason)
{
    if (reason == FileFailure::Reason::ReadOnly)
        return u"copy_failed_read_only"_s;
    return reason == FileFailure::Reason::Gone ? u"copy_failed_gone"_s : u"copy_failed_other"_s;
}

} // namespace

QString downloadHeadline(const QueueCounts &counts)
{
    QStringList parts;
    if (counts.systemSoftware > 0)
        parts += systemSoftwarePart(counts);
    if (counts.medias > 0)
        parts += mediaPart(counts);
    if (parts.isEmpty())
        return localized(u"label_all_downloaded"_s);
    const bool plural = counts.systemSoftware + counts.medias > 1;
    return parts.join(u", "_s)
           + localized(plural ? u"label_is_downloading_plural"_s
                              : u"label_is_downloading_singular"_s)
           + localized(u"label_dont_unplug_quillo"_s);
}

QString storingHeadline(const FileFailure &failure)
{
    switch (failure.reason) {
    case FileFailure::Reason::Full:
        return localized(u"label_pen_full"_s).arg(sizeText(failure.needed), sizeText(failure.free));
    case FileFailure::Reason::TooLarge:
        return localized(u"label_file_too_large"_s).arg(sizeText(failure.needed));
    default:
        return localized(u"label_copy_failed"_s)
            .replace(u"%@"_s, localized(reasonKey(failure.reason)));
    }
}

double shownProgress(double downloadPercentage, double copyPercentage)
{
    return std::clamp(0.6 * downloadPercentage + 0.4 * copyPercentage, 0.0, 99.9);
}

QString progressImageName(double shown)
{
    if (shown >= 25 && shown < 50)
        return u"quillo-fortschritt-laden_25"_s;
    if (shown >= 50 && shown < 75)
        return u"quillo-fortschritt-laden_50"_s;
    if (shown >= 75 && shown < 100)
        return u"quillo-fortschritt-laden_75"_s;
    return u"quillo-fortschritt-laden_0"_s;
}
