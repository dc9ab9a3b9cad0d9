#pragma once

#include "base/Localization.h"
#include "download/DownloadWindowController.h"
#include "download/LibraryReloading.h"
#include "sync/RowLoader.h"
#include "tests/download/TransferTest.h"
#include "tests/support/Configuration.h"

class Library : public LibraryReloading
{
public:
    explicit Library(QStringList &events)
        : m_events(events)
    {
    }
    void loadData() override
    {
        m_events += QStringLiteral("loadData %1").arg(updateElements().size());
    }
    void showBooksView() override { m_events += QStringLiteral("showBooksView"); }

private:
    QStringList &m_events;
};

/// A window without a picture, at the servers of a configuration, in a language that shows keys.
class DownloadWindowTest : public TransferTest
{
protected:
    DownloadWindowTest()
    {
        QList<std::pair<QString, QString>> addresses;
        for (const auto &[key, path] : {std::pair(URLFactory::streamingServerFilesKey, "/files/"),
                                        {URLFactory::streamingServerSoftwareKey, "/software/"},
                                        {URLFactory::mediaServerImageIsoVersionKey, "/iso"},
                                        {URLFactory::mediaServerFirmwareVersionKey, "/firmware"}})
            addresses.append({key, server.address(path)});
        m_configuration.set(propertyList(addresses));
        setCurrentLanguage(QStringLiteral("keys"));

        window.beginRun(&loader);
        service.setDownloadWindowController(&window);
        window.setViewController(&library);
        connectSignals();
    }
    ~DownloadWindowTest() override { setCurrentLanguage(QStringLiteral("de")); }

    void connectSignals()
    {
        const auto note = [this](const QString &event) {
            return [this, event] {
                events += event;
            };
        };
        using Window = DownloadWindowController;
        QObject::connect(&window, &Window::closeRequested, &window, note(QStringLiteral("close")));
        QObject::connect(&window, &Window::completed, &window, note(QStringLiteral("completed")));
        QObject::connect(&window, &Window::runEnded, &window, note(QStringLiteral("ended")));
        QObject::connect(&window, &Window::presentationChanged, &window,
                         [this] { bars += window.presentation().bar; });
    }

    static UpdateElement &addTitle(const QString &mid, qint64 length = 7)
    {
        UpdateElement &row = addRow(UpdateFileType::qnk, length);
        row.publisherId = QStringLiteral("7");
        row.mid = mid;
        row.bookVersion = QStringLiteral("3");
        row.elementId = makeElementId(mid, QStringLiteral("en"));
        addPending(mid);
        return row;
    }
    void serveTitle(const QByteArray &mid, const FaultServer::Reply &reply)
    {
        server.serve("/files/7/" + mid + "/3/000" + mid + "_en.qnk", reply);
    }
    void serveSoftware()
    {
        server.serve("/iso", "4");
        server.serve("/firmware", "13");
        server.serve("/software/imageisoV4.iso", "image");
        server.serve("/software/firmwareV13.bin", "firmware");
    }

    /// Waits for all that the session's thread was busy with, and for what it told.
    void settle()
    {
        bool answered = false;
        service.getContentLength(server.address("/settle"),
                                 [&answered](std::optional<qint64>) { answered = true; });
        EXPECT_TRUE(waitFor([&answered] { return answered; }));
    }
    [[nodiscard]] qsizetype requestsForTitles() const
    {
        QList<FaultServer::Request> requests = server.requests();
        return requests.removeIf([](const auto &r) { return r.target.startsWith("/files/"); });
    }

    [[nodiscard]] bool waitForEnd()
    {
        return waitFor([this] { return events.contains(QStringLiteral("ended")); });
    }
    [[nodiscard]] const DownloadPresentation &shown() const { return window.presentation(); }
    [[nodiscard]] bool isPending() const { return shown().cancelEnabled && !shown().okEnabled; }

    QStringList events;
    QList<double> bars;
    Library library{events};
    DownloadFileService service;
    RowLoader loader{service};
    DownloadWindowController window;

private:
    Configuration m_configuration;
};
