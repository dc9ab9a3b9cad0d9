#include "base/ApplicationLog.h"

#include "platform/Address.h"
#include "platform/AppendFile.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

#include <QMutex>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype blockSize = 16 * 1024;

struct Target
{
    QString path;            ///< empty when there is no documents folder
    QByteArray announcement; ///< the line that goes with every entry
};

/// The entries that the batch of a thread holds back.
struct Gathered
{
    int depth = 0;
    Target target;
    QByteArray entries;
};

thread_local Gathered gathered;

Target lookUpTarget()
{
    const std::optional<QString> folder = FileManager::documentsFolder();
    if (!folder)
        return {};
    const QString path = *folder + u"/log.txt"_s;
    return {path, "FilePath: " + path.toUtf8() + '\n'};
}

void append(const QString &path, const QByteArray &entries)
{
    static QMutex mutex;
    static AppendFile file;

    const QMutexLocker locker(&mutex);
    const auto [outcome, error] = file.append(path, entries);
    switch (outcome) {
    case AppendFile::Outcome::Appended:
        break;
    case AppendFile::Outcome::CreateFailed:
        print(u"Failed writing to URL: %1, Error: %2"_s.arg(
            urlOf(path).toString(QUrl::FullyEncoded), error));
        break;
    case AppendFile::Outcome::OpenFailed:
        print(u"Error writing to file "_s + error);
        break;
    }
}

void appendGathered()
{
    if (!gathered.entries.isEmpty())
        append(gathered.target.path, gathered.entries);
    gathered.entries.clear();
}

void gather(const QString &line)
{
    if (gathered.target.path.isEmpty())
        return;
    printText(gathered.target.announcement);
    gathered.entries += line.toUtf8();
    gathered.entries += " \n";
    if (gathered.entries.size() < blockSize)
        return;
    appendGathered();
    gathered.target = lookUpTarget();
}

} // namespace

void writeLog(const QString &line)
{
    if (gathered.depth > 0)
        return gather(line);
    const Target target = lookUpTarget();
    if (target.path.isEmpty())
        return;
    printText(target.announcement);
    append(target.path, line.toUtf8() + " \n");
}

LogBatch::LogBatch()
{
    if (++gathered.depth == 1)
        gathered.target = lookUpTarget();
}

LogBatch::~LogBatch()
{
    if (--gathered.depth == 0)
        appendGathered();
}
