#pragma once

#include "tests/support/PenFolder.h"

#include "app/MainWindow.h"
#include "app/ViewController.h"
#include "base/Localization.h"
#include "library/LibraryLists.h"
#include "platform/Bundle.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/FolderVolumes.h"

#include <QFile>
#include <QTest>

#include <memory>

#include <gtest/gtest.h>

/// A pen that can be plugged in, no server addresses, and an empty log.
class AppTest : public testing::Test
{
protected:
    explicit AppTest(PenFolder::Start start = PenFolder::Start::PulledOut)
        : pen(QStringLiteral("QUILLO"), start)
        , volumes(pen.volumes())
    {
        FileManager::setVolumeSource(&volumes);
        configuration = settings.filePath(QStringLiteral("Url.plist"));
        QFile file(configuration);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<plist version=\"1.0\"><dict/></plist>");
        file.close();
        Bundle::setConfigurationFile(configuration);
        QFile::remove(logFile());
        setCurrentLanguage(QStringLiteral("de"));
    }

    ~AppTest() override
    {
        Dispatch::waitForGlobalWork();
        clearLibraryLists();
        FileManager::setVolumeSource(nullptr);
    }

    [[nodiscard]] static QString logFile()
    {
        return FileManager::documentsFolder().value_or(QString()) + QStringLiteral("/log.txt");
    }

    /// The log's lines that begin with one of these.
    [[nodiscard]] static QStringList logLines(const QStringList &prefixes)
    {
        QFile file(logFile());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList lines;
        for (const QString &line :
             QString::fromUtf8(file.readAll()).split(QStringLiteral(" \n"), Qt::SkipEmptyParts)) {
            for (const QString &prefix : prefixes) {
                if (line.startsWith(prefix))
                    lines.append(line);
            }
        }
        return lines;
    }

    [[nodiscard]] static bool waitForLog(const QString &line, int count = 1)
    {
        return QTest::qWaitFor([&] { return logLines({line}).count(line) >= count; }, 10'000);
    }

    QTemporaryDir settings;
    QString configuration;
    PenFolder pen;
    FolderVolumes volumes;
};

class PenAppTest : public AppTest
{
protected:
    PenAppTest()
        : AppTest(PenFolder::Start::PluggedIn)
    {
    }
};

/// The main window with its pen.
class WindowTest : public AppTest
{
protected:
    explicit WindowTest(PenFolder::Start penStart = PenFolder::Start::PluggedIn)
        : AppTest(penStart)
    {
    }

    void start()
    {
        window = std::make_unique<MainWindow>(volumes);
        window->show();
        ASSERT_TRUE(waitForLog(QStringLiteral("viewDidAppear Ende")));
    }
    void activate()
    {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    void plugIn()
    {
        pen.plugIn();
        ASSERT_TRUE(QTest::qWaitFor([this] { return controller().isQuilloAvailable(); }));
    }
    void pullOut()
    {
        pen.pullOut();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    }

    ViewController &controller() { return window->viewController(); }

    std::unique_ptr<MainWindow> window;
};

class WindowWithoutPen : public WindowTest
{
protected:
    WindowWithoutPen()
        : WindowTest(PenFolder::Start::PulledOut)
    {
    }
};

inline void writeTitle(const PenFolder &pen, const QString &id, const QByteArray &name,
                       const QByteArray &kind)
{
    pen.write(QStringLiteral("book/%1.txt").arg(id), "Name: " + name + "\nType: " + kind + '\n');
    pen.write(QStringLiteral("book/%1.qnk").arg(id), "content");
}
