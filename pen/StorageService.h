#pragma once

#include "platform/FileManager.h"

#include <QString>

/// How full the pen is; sizes in units of 1024 x 1024 x 1024 bytes.
struct StorageValues
{
    double total = 0;
    double used = 0;
    double percent = 0; ///< of the total that is used; 0 of an empty total
};

struct StorageTexts
{
    double percent = 0;       ///< in whole numbers
    QString percentText;      ///< "33,0"
    QString storageText;      ///< "1,23 GB belegt von 3,68 GB"
    QString percentLabelText; ///< "33.0 % belegt ", with a point in every language
};

/// Reads the pen's storage figures. Without state; nothing is cached. Main thread only, since the
/// texts are in the current language.
class StorageService
{
public:
    /// All 0 without pen.
    [[nodiscard]] static StorageValues getStorageValues();
    [[nodiscard]] static StorageTexts updateStorageValues();

    [[nodiscard]] static StorageValues
    storageValues(const FileManager::FileSystemAttributes &attributes);
    [[nodiscard]] static StorageTexts storageTexts(const StorageValues &values);
};
