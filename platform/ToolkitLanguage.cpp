#include "platform/ToolkitLanguage.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

using namespace Qt::StringLiterals;

void setToolkitLanguage(const QString &language)
{
    QLocale::setDefault(QLocale(language));
    QCoreApplication *application = QCoreApplication::instance();
    const QString name = u"toolkit"_s;
    delete application->findChild<QTranslator *>(name, Qt::FindDirectChildrenOnly);
    auto texts = std::make_unique<QTranslator>();
    if (texts->load(u"qtbase_"_s + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        texts->setObjectName(name);
        texts->setParent(application);
        QCoreApplication::installTranslator(texts.release());
    }
    // Also where there are no such texts; several become one.
    QCoreApplication::postEvent(application, new QEvent(QEvent::LanguageChange));
}
