#include "platform/FolderVisit.h"

#include "tests/support/PenTest.h"

#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

class FolderVisitTest : public PenTest
{
protected:
    FolderVisitTest()
    {
        pen.write(u"book/a.txt"_s, "inside");
        pen.write(u"book/deep/b.txt"_s, "deeper");
        pen.write(u"configure/c.txt"_s, "elsewhere");
        std::filesystem::create_symlink(pen.path(u"configure/c.txt"_s).toStdString(),
                                        pen.path(u"book/link.txt"_s).toStdString());
    }

    [[nodiscard]] std::optional<QByteArray> contents(const QString &relative) const
    {
        return FileManager::contents(pen.volumePath(relative)).data;
    }
};

} // namespace

TEST_F(FolderVisitTest, FindsAndRefusesTheSameFiles)
{
    const QStringList asked = {u"book/a.txt"_s,         u"book/deep/b.txt"_s, u"configure/c.txt"_s,
                               u"book/none.txt"_s,      u"book/link.txt"_s,   u"book/.."_s,
                               u"book/deep/../a.txt"_s, u"book/deep"_s};
    QList<std::optional<QByteArray>> before;
    QList<std::optional<QString>> realBefore;
    for (const QString &relative : asked) {
        before += contents(relative);
        realBefore += FileManager::realPath(pen.volumePath(relative));
    }
    ASSERT_EQ(before.first(), "inside");
    const FolderVisit nowhere = FileManager::visit(pen.volumePath(u"none"_s));
    EXPECT_EQ(contents(u"none/a.txt"_s), std::nullopt);
    EXPECT_EQ(contents(u"book/a.txt"_s), "inside");
    const FolderVisit visit = FileManager::visit(pen.volumePath(u"book"_s));
    for (qsizetype i = 0; i < asked.size(); ++i) {
        SCOPED_TRACE(asked.at(i).toStdString());
        EXPECT_EQ(contents(asked.at(i)), before.at(i));
        EXPECT_EQ(FileManager::realPath(pen.volumePath(asked.at(i))), realBefore.at(i));
    }
    EXPECT_TRUE(FileManager::fileExists(pen.volumePath(u"book/a.txt"_s)));
    EXPECT_FALSE(FileManager::fileExists(pen.volumePath(u"book/link.txt"_s)));
    pen.remove(u"book/a.txt"_s);
    EXPECT_EQ(contents(u"book/a.txt"_s), std::nullopt);
}

TEST_F(FolderVisitTest, KeepsTheVolumesAsTheyWereAndOnlyWhileItLasts)
{
    const auto mounted = FileManager::mountedVolumeURLs();
    ASSERT_EQ(mounted->size(), 1);
    {
        const FolderVisit visit = FileManager::visit(pen.volumePath(u"book"_s));
        {
            const FolderVisit inner = FileManager::visit(pen.volumePath(u"configure"_s));
            EXPECT_EQ(contents(u"configure/c.txt"_s), "elsewhere");
        }
        pen.pullOut();
        EXPECT_EQ(FileManager::mountedVolumeURLs(), mounted);
        EXPECT_EQ(contents(u"book/a.txt"_s), "inside") << "not read through the folder kept open";
        EXPECT_EQ(contents(u"configure/c.txt"_s), std::nullopt);
    }
    EXPECT_EQ(FileManager::mountedVolumeURLs()->size(), 0);
    EXPECT_EQ(contents(u"book/a.txt"_s), std::nullopt);
}
