#pragma once

#include "tests/support/Configuration.h"
#include "tests/support/PenFolder.h"
#include "tests/support/Traces.h"

#include "app/MainWindow.h"
#include "app/ViewController.h"
#include "base/Localization.h"
#include "library/LibraryLists.h"
#include "platform/Dispatch.h"
#include "platform/FolderVolumes.h"
#include "platform/SimulatedCentral.h"

#include <QAbstractItemView>
#include <QTest>

#include <algorithm>
#include <memory>

/// A pen that can be plugged in, no server addresses, and an empty log.
class AppTest : public testing::Test
{
protected:
    explicit AppTest(PenFolder::Start start = PenFolder::Start::PulledOut)
        : pen(QStringLiteral("QUILLO"), start)
    {
        FileManager::setVolumeSource(&volumes);
        removeLog();
        setCurrentLanguage(QStringLiteral("de"));
    }
    ~AppTest() override
    {
        Dispatch::waitForGlobalWork();
        clearLibraryLists();
        FileManager::setVolumeSource(nullptr);
    }

    /// The log's lines that begin with one of these.
    [[nodiscard]] static QStringList logLines(const QStringList &prefixes)
    {
        QStringList lines = logEntries();
        lines.removeIf([&prefixes](const QString &line) {
            return std::none_of(prefixes.begin(), prefixes.end(),
                                [&line](const QString &prefix) { return line.startsWith(prefix); });
        });
        return lines;
    }
    [[nodiscard]] static bool waitForLog(const QString &line, int count = 1)
    {
        return QTest::qWaitFor([&] { return logLines({line}).count(line) >= count; }, 60'000);
    }

    Configuration addresses;
    const QString configuration = addresses.file();
    PenFolder pen;
    FolderVolumes volumes{pen.volumes()};
    SimulatedCentral radio;
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
        window = std::make_unique<MainWindow>(Hardware{volumes, radio});
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

inline void clickRow(QAbstractItemView &view, int row, int column = 0,
                     Qt::KeyboardModifiers modifiers = {})
{
    QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers,
                      view.visualRect(view.model()->index(row, column)).center());
}

inline void writeTitle(const PenFolder &pen, const QString &id, const QByteArray &name,
                       const QByteArray &kind)
{
    pen.write(QStringLiteral("book/%1.txt").arg(id), "Name: " + name + "\nType: " + kind + '\n');
    pen.write(QStringLiteral("book/%1.qnk").arg(id), "content");
}
