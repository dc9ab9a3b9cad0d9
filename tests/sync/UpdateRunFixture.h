#pragma once

#include "base/Localization.h"
#include "download/DownloadWindowController.h"
#include "library/DownloadQueue.h"
#include "tests/support/Traces.h"
#include "tests/support/UpdateRig.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

/// Whole update runs over titles with the mids 42 and 43.
class UpdateRunTest : public testing::Test
{
protected:
    using Fault = FaultServer::Fault;
    using Gate = FaultServer::Gate;

    /// A pen that is kept busy cannot be ejected.
    void TearDown() override
    {
        const auto openOnPen = [this] {
            QStringList open;
            const QDir descriptors(QStringLiteral("/proc/self/fd"));
            for (const QString &name : descriptors.entryList(QDir::AllEntries | QDir::System))
                open += QFile::symLinkTarget(descriptors.filePath(name));
            return open.filter(rig.pen.root());
        };
        EXPECT_TRUE(QTest::qWaitFor([&] { return openOnPen().isEmpty(); }, 20'000))
            << qPrintable(openOnPen().join(u' '));
    }
    [[nodiscard]] static QList<DownloadType> states()
    {
        QList<DownloadType> result;
        for (const UpdateElement &row : std::as_const(updateElements()))
            result += row.downloadType;
        return result;
    }
    [[nodiscard]] DownloadWindowController &controller()
    {
        return rig.service->downloadWindowController();
    }
    [[nodiscard]] const DownloadPresentation &window() { return controller().presentation(); }
    [[nodiscard]] QByteArray onPen(const QString &suffix,
                                   const QString &id = QStringLiteral("00042_en"))
    {
        return rig.pen.read(QStringLiteral("book/") + id + suffix);
    }

    void setTime(const QString &relative, const QDateTime &time)
    {
        QFile file(rig.pen.path(relative));
        EXPECT_TRUE(file.open(QFile::ReadWrite)
                    && file.setFileTime(time, QFile::FileModificationTime));
    }
    void serveCatalogueOfOne()
    {
        rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    }
    void serveCatalogueOfTwo()
    {
        rig.serveCatalogue(R"({"00042":3,"00043":3})",
                           {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat")});
    }
    void serveOneOutdatedTitle()
    {
        rig.putTitle(QStringLiteral("00042_en"), 2);
        serveCatalogueOfOne();
        rig.serveContent(42, 3, content);
    }
    /// The one with the mid 43 comes second.
    void serveTwoOutdatedTitles()
    {
        rig.putTitle(QStringLiteral("00043_en"), 2);
        setTime(QStringLiteral("book/00043_en.txt"), QDateTime::currentDateTime().addDays(-1));
        serveOneOutdatedTitle();
        serveCatalogueOfTwo();
        rig.serveContent(43, 3, content);
    }

    void drop(const QString &mid)
    {
        for (int row = 0; row < updateElements().size(); ++row) {
            if (updateElements().at(row).mid == mid)
                controller().onItemClicked(row, DownloadWindowController::cancelColumn);
        }
    }
    /// Until nothing of what was stopped is on its way any more.
    void waitForRest()
    {
        bool isAtRest = false;
        rig.service->releasePen([&isAtRest] { isAtRest = true; });
        ASSERT_TRUE(QTest::qWaitFor([&isAtRest] { return isAtRest; }, 20'000));
        QCoreApplication::processEvents();
        rig.service->keepPen();
    }

    void expectOldTitle()
    {
        EXPECT_EQ(onPen(QStringLiteral(".qnk")), "old content");
        EXPECT_EQ(onPen(QStringLiteral(".txt")),
                  "Name: Old\nPublisher: P\nAuthor: A\nBook Area Code: en\nISBN: 1\nType: Buch\n"
                  "Book Version: 2\n");
    }
    void expectNewTitle()
    {
        EXPECT_EQ(onPen(QStringLiteral(".qnk")), content);
        EXPECT_EQ(onPen(QStringLiteral(".txt")),
                  "Name: Drache\nPublisher: Verlag\nAuthor: Ada\nBook Area Code: en\nISBN: 978\n"
                  "Type: Buch\nBook Version: 3\n");
    }
    void expectHeadline(const QString &key)
    {
        EXPECT_EQ(window().headline, localized(key)) << key.toStdString();
    }

    UpdateRig rig;
    const QSignalSpy windowShown{&rig.service->downloadWindowController(),
                                 &DownloadWindowController::showRequested};
    const QByteArray content = QByteArray("0123456789").repeated(30'000);
    const std::shared_ptr<Gate> gate = std::make_shared<Gate>();
};
