#include "tests/ui/DeletionFixture.h"

#include "tests/support/Traces.h"

#include "library/DownloadQueue.h"
#include "pen/NavStorageItem.h"

#include <QFileInfo>
#include <QLabel>

#include <sys/fsuid.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

TEST_F(Deletion, ConfirmingRemovesTheFilesOfEveryChosenTitle)
{
    Alerts alerts;
    pen.write(u"book/00001_de.png"_s, "picture");
    pen.write(u"book/00001_de.old"_s, "other");
    updateElements().resize(2);
    updateElements()[0].elementId = affe;
    updateElements()[1].elementId = zebra;
    press({zebra, pirat});
    NavStorageItem::current->storageLabel->setText(u"old"_s);
    removeLog();
    EXPECT_EQ(
        printedBy([&] { alerts.answer(true); }).filter(u"Will delete"_s),
        (QStringList{u"Will delete Zebra of type Game"_s, u"Will delete Pirat of type Archive"_s}));
    EXPECT_EQ(penFiles(), (QStringList{u"00001_de.old"_s, u"00003_de.qnk"_s, u"00003_de.txt"_s,
                                       u"00004_de.qnk"_s, u"00004_de.txt"_s}));
    EXPECT_EQ(listedIds(), (QStringList{drache, affe}));
    EXPECT_EQ(selectedElementIds(), QStringList());
    EXPECT_FALSE(button().isEnabled());
    EXPECT_EQ(alerts.shown.size(), 1);
    EXPECT_EQ(NavStorageItem::current->storageLabel->text(), u"Speicher"_s);
    ASSERT_EQ(updateElements().size(), 2);
    EXPECT_EQ(updateElements().at(0).downloadType, DownloadType::Waiting);
    EXPECT_EQ(updateElements().at(1).downloadType, DownloadType::Canceled);
    updateElements().clear();
}

TEST_F(Deletion, WhatIsInNoListIsRemovedTooAndWhatIsStillListedIsTold)
{
    Alerts alerts;
    gameList().clear(); // the view still shows them
    press({zebra});
    EXPECT_EQ(alerts.shown.first().informativeText, u"Diese Titel werden vom Stift gelöscht: "_s);
    alerts.answer(true);
    EXPECT_FALSE(pen.exists(u"book/00001_de.qnk"_s));
    EXPECT_EQ(alerts.shown.size(), 1);

    pen.write(u"book/00008_de.txt"_s, "Id: 00009_de\nName: Doppelt\nType: Buch\n");
    controller().loadData();
    press({u"00009_de"_s});
    alerts.answer(true);
    ASSERT_EQ(alerts.shown.size(), 3);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(u"\"Doppelt\""_s));
}

/// File access of the calling thread as somebody who is not root, for whom everything on the pen is
/// made writable. Root could remove anything.
class AsOrdinaryUser
{
public:
    explicit AsOrdinaryUser(const PenFolder &pen)
    {
        if (geteuid() != 0)
            return;
        constexpr uid_t nobody = 65534;
        const QString top = QFileInfo(pen.volumes()).path();
        for (const QString &path : {top, pen.volumes(), pen.root(), pen.path(u"book"_s)})
            EXPECT_EQ(chown(qPrintable(path), nobody, nobody), 0);
        setfsuid(nobody);
    }
    ~AsOrdinaryUser() { setfsuid(geteuid()); }
    AsOrdinaryUser(const AsOrdinaryUser &) = delete;
    AsOrdinaryUser &operator=(const AsOrdinaryUser &) = delete;
};

TEST_F(Deletion, StuckTitleIsToldByNameWhileTheOthersGo)
{
    Alerts alerts;
    // A folder whose content cannot be removed stands in the content file's place.
    const QString stuck = u"book/00001_de.qnk"_s;
    pen.remove(stuck);
    pen.write(stuck + u"/file"_s, "x");
    const QFile::Permissions readOnly =
        QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    ASSERT_TRUE(QFile::setPermissions(pen.path(stuck), readOnly));
    press({zebra, pirat, drache, affe});
    {
        const AsOrdinaryUser user(pen);
        alerts.answer(true);
    }
    EXPECT_TRUE(QFile::setPermissions(pen.path(stuck), readOnly | QFile::WriteOwner));
    EXPECT_EQ(penFiles(), QStringList(u"00001_de.qnk"_s));
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(uR"(: "Zebra".)"_s));
    EXPECT_FALSE(button().isEnabled());
}

/// A pen that is pulled out after so many looks at it.
class PulledAfter : public FolderVolumes
{
public:
    PulledAfter(const QString &folder, int looks)
        : FolderVolumes(folder)
        , m_looks(looks)
    {
    }

    [[nodiscard]] QList<Volume> volumes() const override
    {
        return m_looks-- > 0 ? FolderVolumes::volumes() : QList<Volume>();
    }
    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override
    {
        return m_looks-- > 0 ? FolderVolumes::volume(name) : std::nullopt;
    }
    /// Does not look.
    [[nodiscard]] bool wasPulled() const { return m_looks < 0; }

private:
    mutable int m_looks;
};

TEST_F(Deletion, PenPulledOutAtAnyMomentNeverHidesWhatIsLeft)
{
    Alerts alerts;
    bool pulled = true;
    for (int looks = 0; pulled; ++looks) {
        writeTitles();
        controller().loadData();
        alerts.shown.clear();
        press({zebra, drache});
        PulledAfter source(pen.volumes(), looks);
        FileManager::setVolumeSource(&source);
        alerts.answer(true);
        FileManager::setVolumeSource(&volumes);
        pulled = source.wasPulled();
        const QString told =
            alerts.shown.size() > 1 ? alerts.shown.last().informativeText : QString();
        for (const auto &[id, name] : {std::pair(zebra, u"Zebra"_s), {drache, u"Drache"_s}}) {
            const QStringList left = penFiles().filter(id);
            EXPECT_TRUE(left.isEmpty() || told.contains(name)) << looks;
            EXPECT_NE(left, QStringList(id + u".txt"_s)) << "the text goes first";
        }
    }
}

} // namespace
