#include "app/ApplicationLog.h"

#include "platform/AppendFile.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

#include <QMutex>
#include <QUrl>

void writeLog(const QString &line)
{
    static QMutex mutex;
    static AppendFile file;

    const std::optional<QString> folder = FileManager::documentsFolder();
    if (!folder)
        return;
    const QString path = *folder + QStringLiteral("/log.txt");
    const QMutexLocker locker(&mutex);
    print(QStringLiteral("FilePath: ") + path);
    const auto [outcome, error] = file.append(path, (line + QStringLiteral(" \n")).toUtf8());
    switch (outcome) {
    case AppendFile::Outcome::Appended:
        break;
    case AppendFile::Outcome::CreateFailed:
        print(QStringLiteral("Failed writing to URL: %1, Error: %2")
                  .arg(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded), error));
        break;
    case AppendFile::Outcome::OpenFailed:
        print(QStringLiteral("Error writing to file ") + error);
        break;
    }
}
