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
    QString location; ///< the documents folder
    QString path;
    QByteArray announcement; ///< the line that goes with every entry
};

/// The entries that the batch of a thread holds back.
struct Gathered
{
    int depth = 0;
    QByteArray announcement; ///< goes with each of them; empty when there is no folder
    QByteArray entries;
};

thread_local Gathered gathered;

QMutex mutex;

/// Where entries go, without a look at the disk. The mutex is held.
const Target &currentTarget()
{
    static Target target;
    const QString location = FileManager::documentsLocation();
    if (target.location != location) {
        const QString path = location + u"/log.txt"_s;
        target = {location, path, "FilePath: " + path.toUtf8() + '\n'};
    }
    return target;
}

QByteArray announcement()
{
    if (!FileManager::documentsFolder())
        return {};
    const QMutexLocker locker(&mutex);
    return currentTarget().announcement;
}

void append(const QByteArray &entries, bool announced)
{
    static AppendFile file;

    const QMutexLocker locker(&mutex);
    const Target &target = currentTarget();
    // Where the file is, its folder is as well.
    if (target.location.isEmpty() || (!file.find(target.path) && !FileManager::documentsFolder()))
        return;
    if (!announced)
        printText(target.announcement);
    const auto [outcome, error] = file.append(entries);
    switch (outcome) {
    case AppendFile::Outcome::Appended:
        break;
    case AppendFile::Outcome::CreateFailed:
        print(u"Failed writing to URL: %1, Error: %2"_s.arg(
            urlOf(target.path).toString(QUrl::FullyEncoded), error));
        break;
    case AppendFile::Outcome::OpenFailed:
        print(u"Error writing to file "_s + error);
        break;
    }
}

void appendGathered()
{
    if (!gathered.entries.isEmpty())
        append(gathered.entries, true);
    gathered.entries.resize(0); // not clear(), which would give the memory back
}

void gather(const QString &line)
{
    if (gathered.announcement.isEmpty())
        return;
    printText(gathered.announcement);
    gathered.entries += line.toUtf8();
    gathered.entries += " \n";
    if (gathered.entries.size() < blockSize)
        return;
    appendGathered();
    gathered.announcement = announcement();
}

} // namespace

void writeLog(const QString &line)
{
    if (gathered.depth > 0)
        return gather(line);
    append(line.toUtf8() + " \n", false);
}

LogBatch::LogBatch()
{
    if (++gathered.depth > 1)
        return;
    gathered.announcement = announcement();
    gathered.entries.reserve(blockSize + blockSize / 8);
}

LogBatch::~LogBatch()
{
    if (--gathered.depth > 0)
        return;
    appendGathered();
    gathered.entries = {};
}
