#pragma once

#include "base/Localization.h"
#include "library/ContentOwner.h"
#include "library/CoverCache.h"
#include "library/Deletion.h"
#include "library/LibraryLists.h"
#include "platform/Dispatch.h"

#include <QWidget>

#include <gtest/gtest.h>

/// Stands in for the main window.
class FakeMain : public ContentOwner, public DeletionSelecting
{
public:
    [[nodiscard]] ViewMode viewMode() const override { return mode; }
    [[nodiscard]] bool isQuilloAvailable() const override { return penAvailable; }
    [[nodiscard]] CoverCache &coverCache() override { return covers; }
    [[nodiscard]] bool isReadingMusic() const override { return readingMusic; }
    void showTitlesView() override { ++titlesViewsShown; }
    void showFoundTitles(const QString &words) override { foundTitlesShown += words; }
    void closeFoundTitles() override { ++foundTitlesClosed; }
    void focusTitles() override {}
    void showMessage(const std::function<QString()> &text) override { message = text(); }
    [[nodiscard]] DeletionSelecting *deletionSelection() override { return this; }
    void setSelectedElementIds(const QStringList &ids) override { selectedElementIds() = ids; }
    void clearSelectedElementIds() override { selectedElementIds().clear(); }

    ViewMode mode = ViewMode::tiled;
    bool penAvailable = true;
    bool readingMusic = false;
    CoverCache covers;
    int titlesViewsShown = 0;
    QStringList foundTitlesShown;
    int foundTitlesClosed = 0;
    QString message;
};

inline ElementList makeTitles(int count, const QString &prefix)
{
    ElementList titles;
    for (int i = 0; i < count; ++i) {
        auto title = std::make_shared<BaseElement>();
        title->id = prefix + QString::number(i);
        title->name = QStringLiteral("Titel ") + title->id;
        title->publisher = QStringLiteral("Verlag");
        title->author = QStringLiteral("Autorin ") + QString::number(i);
        title->isbn = QStringLiteral("978000000") + QString::number(i);
        title->image = dummyCover();
        titles.append(title);
    }
    return titles;
}

class ContentTest : public testing::Test
{
protected:
    ContentTest()
    {
        setCurrentLanguage(QStringLiteral("de"));
        clearLibraryLists();
    }
    ~ContentTest() override
    {
        Dispatch::waitForGlobalWork();
        clearLibraryLists();
    }

    FakeMain main;
};
