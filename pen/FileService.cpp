#include "pen/FileService.h"

#include "base/ApplicationLog.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

#include <algorithm>
#include <atomic>

using namespace Qt::StringLiterals;

namespace {

std::atomic_int countedWritings = 0;

QString text(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

void printError(const QString &error)
{
    print(u"ERROR: "_s + error);
}

bool holds(const QString &file, const QByteArray &bytes)
{
    const FileManager::Contents contents = FileManager::contents(file, bytes.size());
    return contents.data == bytes && contents.stamp.size == bytes.size();
}

/// The file's text; absent after printing why.
std::optional<QString> readText(const QUrl &fileURL, FileManager::Stamp *stamp = nullptr)
{
    const FileManager::Contents contents = FileManager::contents(pathOf(fileURL));
    if (!contents.data) {
        printError(contents.error);
        return std::nullopt;
    }
    if (stamp)
        *stamp = contents.stamp;
    std::optional<QString> decoded = decodeUtf8(*contents.data);
    if (!decoded)
        printError(u"The file "_s + text(fileURL) + u" is not UTF-8 text."_s);
    return decoded;
}

/// Looked up together, before any of them goes.
QList<QUrl> existingFiles(const QString &mid)
{
    QList<QUrl> files;
    for (const FileType type : {FileType::qnk, FileType::png, FileType::txt}) {
        const std::optional<QUrl> url = URLFactory::url(mid, type);
        if (url && FileManager::fileExists(pathOf(*url)))
            files += *url;
    }
    return files;
}

} // namespace

std::optional<QString> FileService::getFileContent(const QUrl &fileURL, FileManager::Stamp *stamp)
{
    writeLog(u"getFileContent Beginn"_s);
    writeLog(u"getFileContent fileURL = "_s + text(fileURL));
    const std::optional<QString> content = readText(fileURL, stamp);
    if (content)
        writeLog(u"getFileContent return text = "_s + *content);
    else
        writeLog(u"getFileContent return nil"_s);
    writeLog(u"getFileContent Ende"_s);
    return content;
}

std::optional<QStringList> FileService::getFileLines(const QUrl &fileURL)
{
    const std::optional<QString> content = readText(fileURL);
    if (!content)
        return std::nullopt;
    QStringList lines = splitAtNewlines(*content);
    lines.removeAll(QString());
    return lines;
}

bool FileService::writeFile(const QString &text, const QUrl &fileURL)
{
    const QByteArray bytes = text.toUtf8();
    if (holds(pathOf(fileURL), bytes))
        return true;
    ++countedWritings;
    const FileResult result =
        FileManager::write(pathOf(fileURL), bytes, FileManager::WriteMode::InPlace);
    ++countedWritings;
    if (!result)
        printError(result.error);
    return bool(result);
}

int FileService::writings()
{
    return countedWritings;
}

QStringList FileService::listFiles(const QUrl &directoryURL, const QString &containing)
{
    auto entries = FileManager::contentsOfDirectory(pathOf(directoryURL),
                                                    FileManager::HiddenFiles::Skip, containing)
                       .value_or(QList<FileManager::Entry>());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const FileManager::Entry &a, const FileManager::Entry &b) {
                         return a.modified > b.modified;
                     });
    QStringList names;
    for (const FileManager::Entry &entry : std::as_const(entries))
        names += entry.name;
    return names;
}

bool FileService::deleteFiles(const QString &mid)
{
    bool allRemoved = true;
    for (const QUrl &url : existingFiles(mid)) {
        debugPrint(u"Will delete item at "_s + text(url));
        if (const FileResult result = FileManager::removeItem(pathOf(url)); !result) {
            printError(result.error);
            allRemoved = false;
        }
    }
    return allRemoved;
}

bool FileService::deleteFile(const QString &atPath)
{
    if (!FileManager::fileExists(atPath))
        return false;
    const FileResult result = FileManager::removeItem(atPath);
    if (!result)
        debugPrint(u"ERROR: "_s + result.error);
    return bool(result);
}

void FileService::deleteFile(const QUrl &fileURL)
{
    if (!FileManager::removeItem(pathOf(fileURL)))
        debugPrint(u"Deleting this file: "_s + text(fileURL) + u" failed for some reason"_s);
}
