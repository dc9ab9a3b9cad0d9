#pragma once

#include "pen/FileType.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>
#include <QUrl>

#include <optional>

/// Where things are: the pen's layout and the configured server addresses. Nothing is cached, so a
/// pen that was unplugged is noticed by the next call; nothing here checks that a file exists.
/// Every address of the pen is absent when no pen volume is mounted. Any thread.
class URLFactory
{
public:
    /// Accepted volume names. The last is "NO NAME" as the text of a file address spells it.
    static const QStringList volumeNames;
    static const QString bookFolderName;
    static const QString configureFolderName;
    static const QString musicFolderName;

    /// First group: the MID of a line of the to-be-downloaded list.
    static const QRegularExpression &midExpression();

    [[nodiscard]] static std::optional<QUrl> getQuilloURL();
    [[nodiscard]] static std::optional<QUrl> getBookURL();
    [[nodiscard]] static std::optional<QUrl> getConfigureURL();
    [[nodiscard]] static std::optional<QUrl> getSettingsFileURL();
    [[nodiscard]] static std::optional<QUrl> getTbdFileURL();
    [[nodiscard]] static std::optional<QUrl> getLogFileURL();
    [[nodiscard]] static std::optional<QUrl> getMusicURL();

    /// The book folder's file "0" + mid + "_en" + extension, for txt, png and qnk only.
    [[nodiscard]] static std::optional<QUrl> url(const QString &mid, FileType type);

    [[nodiscard]] static QString fileName(const QString &name, FileType type);

    /// `folder` with a file's name appended.
    [[nodiscard]] static QUrl fileURL(const QUrl &folder, const QString &fileName);

    // Keys of the property list "Url".
    static const QString mediaServerVersionsKey;
    static const QString mediaServerMediasKey;
    static const QString mediaServerImageIsoVersionKey;
    static const QString mediaServerFirmwareVersionKey;
    static const QString streamingServerFilesKey;
    static const QString streamingServerSoftwareKey;
    static const QString logPostKey;
    static const QString shopKey;
    static const QString dummyVideoKey;

    /// The property list's dictionary, read anew by every call; empty when it cannot be read.
    [[nodiscard]] static QHash<QString, QString> loadPropertyList(const QString &name);

    /// The text under `key` in "Url"; absent when it is missing or no text.
    [[nodiscard]] static std::optional<QString> getServerValue(const QString &key);

    /// The page that plays a video. Nothing is escaped: the address must come percent-encoded.
    [[nodiscard]] static QString getVideoHTML(const QString &urlString);
};
