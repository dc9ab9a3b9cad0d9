// Apart from the rest of FileService: the connected test reads through it.
#include "pen/FileService.h"
#include "pen/UsbService.h"
#include "platform/Address.h"
#include "platform/FileManager.h"

void FileService::removeHiddenItems()
{
    const std::optional<PenPlaces> pen = UsbService::connectedPen();
    if (!pen)
        return;
    const QString rootPath = pathOf(pen->root());
    const auto entries =
        FileManager::contentsOfDirectory(rootPath, FileManager::HiddenFiles::Include);
    for (const FileManager::Entry &entry : entries.value_or(QList<FileManager::Entry>())) {
        if (entry.name.startsWith(QLatin1Char('.')))
            FileManager::removeItem(rootPath + entry.name);
    }
}
