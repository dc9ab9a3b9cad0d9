#include "base/ViewPlacement.h"

#include <QLabel>
#include <QWidget>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class PinEdges : public testing::Test
{
protected:
    PinEdges()
    {
        container.resize(400, 300);
        container.setObjectName(u"container"_s);
    }

    QWidget container;
};

TEST_F(PinEdges, FillsAndFollowsTheContainerWithItsInset)
{
    auto *below = new QWidget(&container);
    auto *above = new QWidget(&container);
    pinEdges(*below, container);
    pinEdges(*above, container, 8);
    container.show();
    EXPECT_EQ(below->geometry(), QRect(0, 0, 400, 300));
    EXPECT_EQ(above->geometry(), QRect(8, 8, 384, 284));
    container.resize(500, 200);
    EXPECT_EQ(below->geometry(), QRect(0, 0, 500, 200));
}

TEST_F(PinEdges, WarnsOfAStranger)
{
    QLabel stranger;
    stranger.setObjectName(u"stranger"_s);
    const QRect before = stranger.geometry();
    testing::internal::CaptureStdout();
    pinEdges(stranger, container);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WARN: Won't pin edges of QLabel stranger to QWidget container because it is not in "
              "its subviews.\n");
    EXPECT_EQ(stranger.geometry(), before);
    EXPECT_EQ(stranger.parentWidget(), nullptr);
}

} // namespace
