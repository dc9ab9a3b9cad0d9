#pragma once

#include "platform/WebEngineStart.h"

#include <QEventLoop>
#include <QTimer>
#include <QVariant>
#include <QWebEnginePage>

#include <unistd.h>

#include <functional>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

/// A test in which the web engine runs; skipped where it cannot. As root it runs without a sandbox.
class WebTest : public testing::Test
{
protected:
    WebTest()
    {
        if (geteuid() == 0)
            qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
    void SetUp() override
    {
        if (const std::optional<QString> obstacle = webEngineObstacle())
            GTEST_SKIP() << "the web engine cannot start: " << qPrintable(*obstacle);
    }

    /// What the script gives on the page; invalid when there is no answer.
    [[nodiscard]] static QVariant evaluate(QWebEnginePage &page, const QString &script)
    {
        const auto answer = std::make_shared<std::optional<QVariant>>();
        page.runJavaScript(script, [answer](const QVariant &value) { *answer = value; });
        return waitUntil([&] { return answer->has_value(); }) ? **answer : QVariant();
    }

    /// In an event loop that rests only when nothing is to be done: each pause would be one for the
    /// engine, which lives on this thread.
    static bool waitUntil(const std::function<bool()> &condition)
    {
        QEventLoop loop;
        QTimer look;
        look.setSingleShot(true);
        QObject::connect(&look, &QTimer::timeout, &loop, [&] {
            if (condition())
                loop.exit(0);
            else
                look.start(interval);
        });
        QTimer::singleShot(patience, &loop, [&loop] { loop.exit(1); });
        look.start(0);
        return loop.exec() == 0;
    }

private:
    static constexpr int interval = 5;
    static constexpr int patience = 20'000;
};
