#include "base/Localization.h"

#include "platform/Bundle.h"
#include "platform/Dispatch.h"

using namespace Qt::StringLiterals;

namespace {

QString &language()
{
    Q_ASSERT(Dispatch::isMainThread());
    static QString current = u"de"_s;
    return current;
}

} // namespace

const QString &currentLanguage()
{
    return language();
}

void setCurrentLanguage(const QString &newLanguage)
{
    language() = newLanguage;
}

QString localized(const QString &key, const QString &tableLanguage)
{
    const auto table = Bundle::stringTable(tableLanguage);
    if (!table)
        return key;
    language() = tableLanguage;
    return table->value(key, key);
}

QString localized(const QString &key)
{
    return localized(key, currentLanguage());
}

QString LanguageService::numberText(const QString &number)
{
    if (currentLanguage() != "de"_L1)
        return number;
    return QString(number).replace(u'.', u',');
}

QString LanguageService::percentText(const QString &number)
{
    return number + (currentLanguage() == "de"_L1 ? " %"_L1 : "%"_L1);
}
