#pragma once

#include "platform/WebEngineStart.h"

#include <QTest>
#include <QVariant>
#include <QWebEnginePage>

#include <unistd.h>

#include <memory>

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

    /// What the script gives on the page, in its own world; invalid when there is no answer.
    [[nodiscard]] static QVariant evaluate(QWebEnginePage &page, const QString &script)
    {
        const auto answer = std::make_shared<std::optional<QVariant>>();
        page.runJavaScript(script, [answer](const QVariant &value) { *answer = value; });
        return QTest::qWaitFor([&] { return answer->has_value(); }, patience) ? **answer
                                                                              : QVariant();
    }

    static constexpr int patience = 20'000;
};
