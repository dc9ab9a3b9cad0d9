#include "tests/ui/DeletionFixture.h"

#include "tests/support/Output.h"

#include "library/DownloadQueue.h"
#include "library/ElementService.h"
#include "ui/DeletionOwner.h"

#include <QFileInfo>

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
    CapturedOutput output;
    alerts.answer(true);
    EXPECT_EQ(
        output.lines().filter(u"Will delete"_s),
        (QStringList{u"Will delete Zebra of type Game"_s, u"Will delete Pirat of type Archive"_s}));
    EXPECT_EQ(penFiles(), (QStringList{u"00001_de.old"_s, u"00003_de.qnk"_s, u"00003_de.txt"_s,
                                       u"00004_de.qnk"_s, u"00004_de.txt"_s}));
    EXPECT_EQ(listedIds(), (QStringList{drache, affe}));
    EXPECT_EQ(selectedElementIds(), QStringList());
    EXPECT_FALSE(button().isEnabled());
    EXPECT_EQ(alerts.shown.size(), 1);
    ASSERT_EQ(updateElements().size(), 2);
    EXPECT_EQ(updateElements().at(0).downloadType, DownloadType::Waiting);
    EXPECT_EQ(updateElements().at(1).downloadType, DownloadType::Canceled);
    updateElements().clear();
}

TEST_F(Deletion, TitlesThatAreInNoListAreRemovedToo)
{
    Alerts alerts;
    gameList().clear(); // the view still shows them
    press({zebra});
    EXPECT_EQ(alerts.shown.first().informativeText, u"Diese Titel werden vom Stift gelöscht: "_s);
    alerts.answer(true);
    EXPECT_FALSE(pen.exists(u"book/00001_de.qnk"_s));
    EXPECT_EQ(alerts.shown.size(), 1);
}

TEST_F(Deletion, ATitleThatIsStillListedIsToldByName)
{
    Alerts alerts;
    pen.write(u"book/00008_de.txt"_s, "Id: 00009_de\nName: Doppelt\nType: Buch\n");
    controller().loadData();
    press({u"00009_de"_s});
    alerts.answer(true);
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(u"\"Doppelt\""_s));
}

/// The controller alone, beside a shown view that notes when it is told what.
class ToldView : public PenAppTest, public DeletionOwner, public DeletionHandling
{
protected:
    ToldView()
    {
        writeTitles();
        controller.viewController = this;
    }

    void writeTitles() const
    {
        for (const QString &id : ids)
            writeTitle(pen, id, "Titel " + id.mid(4, 1).toLatin1(), "Buch");
        bookList() = ElementService::getQuilloFilesInfoFromPen().books;
    }

    [[nodiscard]] bool isQuilloAvailable() const override { return true; }
    [[nodiscard]] DeletionHandling *shownDeletionHandling() override { return this; }
    void focusTitles() override {}
    [[nodiscard]] int penNumber() const override { return 0; }
    [[nodiscard]] QStringList markedIds() const override { return selectedElementIds(); }
    void markChoice() override {}
    bool takeFocus() override { return true; }
    [[nodiscard]] QTableView *listTable() override { return nullptr; }
    void getBaseElementsFromPen() override
    {
        bookList() = ElementService::getQuilloFilesInfoFromPen().books;
        steps += u"read"_s;
    }
    void willDelete(const QStringList &going) override
    {
        steps +=
            u"will "_s + going.join(u' ') + (pen.exists(u"book/00001_de.txt"_s) ? u""_s : u"!"_s);
        // What a table does that loses its rows.
        controller.setSelectedElementIds({});
    }
    void didDelete() override { steps += u"did "_s + listedIds().join(u' '); }

    void deleteAll()
    {
        controller.setSelectedElementIds(ids);
        controller.deleteButtonAction();
        alerts.answer(true);
    }

    const QStringList ids{u"00001_de"_s, u"00002_de"_s, u"00003_de"_s};
    Alerts alerts;
    DeleteViewController controller;
    QStringList steps;
};

TEST_F(ToldView, HearsBeforeTheFilesGoAndAfterTheLibraryIsRead)
{
    deleteAll();
    EXPECT_EQ(steps, (QStringList{u"will 00001_de 00002_de 00003_de"_s, u"read"_s, u"did "_s}));
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
    EXPECT_EQ(alerts.shown.size(), 1);
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

TEST_F(ToldView, StuckTitleIsToldByNameWhileTheOthersGo)
{
    // A folder whose content cannot be removed stands in the content file's place.
    const QString stuck = u"book/00002_de.qnk"_s;
    pen.remove(stuck);
    pen.write(stuck + u"/file"_s, "x");
    const QFile::Permissions readOnly =
        QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    ASSERT_TRUE(QFile::setPermissions(pen.path(stuck), readOnly));
    {
        const AsOrdinaryUser user(pen);
        deleteAll();
    }
    EXPECT_TRUE(QFile::setPermissions(pen.path(stuck), readOnly | QFile::WriteOwner));
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00002_de.qnk"_s));
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(uR"(: "Titel 2".)"_s));
    EXPECT_FALSE(controller.deleteButton->isEnabled());
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
        return isThere() ? FolderVolumes::volumes() : QList<Volume>();
    }
    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override
    {
        return isThere() ? FolderVolumes::volume(name) : std::nullopt;
    }

    /// Does not look.
    [[nodiscard]] bool wasPulled() const { return m_looks < 0; }

private:
    bool isThere() const { return m_looks-- > 0; }

    mutable int m_looks;
};

TEST_F(ToldView, PenPulledOutAtAnyMomentNeverHidesWhatIsLeft)
{
    bool pulled = true;
    for (int looks = 0; pulled; ++looks) {
        writeTitles();
        alerts.shown.clear();
        PulledAfter source(pen.volumes(), looks);
        FileManager::setVolumeSource(&source);
        deleteAll();
        FileManager::setVolumeSource(&volumes);
        pulled = source.wasPulled();
        const QString told =
            alerts.shown.size() > 1 ? alerts.shown.last().informativeText : QString();
        for (const QString &id : ids) {
            const bool left = !pen.names(u"book"_s).filter(id).isEmpty();
            EXPECT_TRUE(!left || told.contains(u"Titel "_s + id.at(4))) << looks;
        }
    }
}

} // namespace
