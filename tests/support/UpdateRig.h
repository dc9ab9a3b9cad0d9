#pragma once

#include "download/LibraryReloading.h"
#include "platform/FolderVolumes.h"
#include "sync/UpdateService.h"
#include "tests/support/Configuration.h"
#include "tests/support/FaultServer.h"
#include "tests/support/PenFolder.h"

#include <memory>

/// A pen, a server for all addresses, and the update service between them.
class UpdateRig : public LibraryReloading
{
public:
    UpdateRig();
    ~UpdateRig() override;

    /// Every key with an address on the server, but the one named, which has `instead` or nothing.
    void configure(const QString &otherKey = {}, const QString &instead = {});
    /// The shipped list replaced by these bytes.
    void configureWith(const QByteArray &content) { m_configuration.set(content); }

    /// Title data for one title as the media server writes it.
    [[nodiscard]] static QByteArray title(int mid, const QByteArray &name,
                                          const QByteArray &areaCode = "en");
    /// The media server's answers: versions, the data of the pen's titles, of the requested ones.
    void serveCatalogue(const QByteArray &versions, const QList<QByteArray> &allTitles,
                        const QList<QByteArray> &requestedTitles = {});
    void serveContent(int mid, int version, const QByteArray &content);
    [[nodiscard]] static QByteArray contentPath(int mid, int version);

    /// A title's metadata file and, unless absent, its content and its cover.
    void putTitle(const QString &id, int version, bool withContent = true, bool withCover = true);

    /// Starts a run and waits for its end.
    [[nodiscard]] bool run(int timeout = 20'000);
    [[nodiscard]] bool waitForEnd(int timeout = 20'000);

    void loadData() override;
    void showBooksView() override {}

    PenFolder pen;
    FaultServer server;
    FolderVolumes volumes;
    std::unique_ptr<UpdateService> service;
    int loads = 0; ///< of the library

private:
    Configuration m_configuration;
    int m_endedRuns = 0;
};

/// A small valid picture.
[[nodiscard]] QByteArray pngPicture(int width = 6, int height = 8);
