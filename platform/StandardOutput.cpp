#include "platform/StandardOutput.h"

#include "platform/Dispatch.h"

#include <QAbstractEventDispatcher>
#include <QFile>
#include <QMutex>
#include <QPointer>
#include <QStringList>

#include <cstdio>

namespace {

std::FILE *chosenFile = nullptr;

std::FILE *output()
{
    return chosenFile != nullptr ? chosenFile : stdout;
}

/// Lines of the main thread are written out when its event loop next comes to rest: a library scan
/// prints tens of thousands.
bool flushedByEventLoop()
{
    if (!QCoreApplication::instance() || !Dispatch::isMainThread())
        return false;
    static QPointer<QAbstractEventDispatcher> flusher;
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    if (dispatcher && flusher != dispatcher) {
        flusher = dispatcher;
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, dispatcher,
                         [] { std::fflush(output()); });
    }
    return dispatcher != nullptr;
}

bool isPlain(QChar character)
{
    return character != u'"' && character != u'\\' && character.category() != QChar::Other_Control;
}

QString escaped(QChar character)
{
    switch (character.unicode()) {
    case '"':
        return QStringLiteral("\\\"");
    case '\\':
        return QStringLiteral("\\\\");
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    case 0:
        return QStringLiteral("\\0");
    default:
        return QStringLiteral("\\u{%1}").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
}

} // namespace

bool printTo(const QString &file)
{
    std::FILE *opened = std::fopen(QFile::encodeName(file).constData(), "we");
    if (opened != nullptr)
        chosenFile = opened;
    return opened != nullptr;
}

void print(const QString &line)
{
    printText(line.toUtf8() + '\n');
}

void printText(const QByteArray &text)
{
    static QMutex mutex;
    const QMutexLocker locker(&mutex);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), output());
    if (!flushedByEventLoop())
        std::fflush(output());
}

void debugPrint(const QString &line)
{
    print(debugDescription(line));
}

QString debugDescription(const QString &text)
{
    QString result(QLatin1Char('"'));
    result.reserve(text.size() + 2);
    for (const QChar character : text) {
        if (isPlain(character))
            result += character;
        else
            result += escaped(character);
    }
    return result + QLatin1Char('"');
}

QString debugDescription(const QStringList &texts)
{
    QStringList entries;
    for (const QString &text : texts)
        entries += debugDescription(text);
    return QLatin1Char('[') + entries.join(QStringLiteral(", ")) + QLatin1Char(']');
}
