#include "ui/DeleteViewController.h"
#include "ui/DialogUtil.h"

#include "tests/app/AppFixture.h"
#include "tests/support/Output.h"
#include "tests/support/Printers.h"

#include "library/ElementService.h"
#include "pen/NavStorageItem.h"
#include "ui/DeletionOwner.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QToolButton>

#include <memory>

#include <sys/fsuid.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

void writeTitle(const PenFolder &pen, const QString &id, const QByteArray &name,
                const QByteArray &kind)
{
    pen.write(u"book/%1.txt"_s.arg(id), "Name: " + name + "\nType: " + kind + '\n');
    pen.write(u"book/%1.qnk"_s.arg(id), "content");
}

void readLibrary()
{
    const PenLibrary library = ElementService::getQuilloFilesInfoFromPen();
    bookList() = library.books;
    gameList() = library.games;
    learningMaterialList() = library.learningMaterials;
    archiveList() = library.archives;
}

QStringList listedIds()
{
    QStringList ids;
    for (const ElementPtr &title : allElements())
        ids += title->id;
    return ids;
}

/// Keeps the alerts in place of showing them, to be answered by the test.
class Alerts
{
public:
    Alerts()
    {
        DialogUtil::setPresenter(
            [this](const Alert &alert, QWidget &, DialogUtil::Answer completion) {
                shown += alert;
                m_completion = std::move(completion);
            });
    }
    ~Alerts() { DialogUtil::setPresenter({}); }
    Alerts(const Alerts &) = delete;
    Alerts &operator=(const Alerts &) = delete;

    void answer(bool confirmed) { std::exchange(m_completion, {})(confirmed); }

    QList<Alert> shown;

private:
    DialogUtil::Answer m_completion;
};

/// A pen with a book, two games and an archive title, in a running main window.
class Deletion : public PenAppTest
{
protected:
    Deletion()
    {
        writeTitle(pen, u"00001_de"_s, "Zebra", "Spiel");
        writeTitle(pen, u"00002_de"_s, "Pirat", "Archiv");
        writeTitle(pen, u"00003_de"_s, "Drache", "Buch");
        writeTitle(pen, u"00004_de"_s, "Affe", "Spiel");
        window = std::make_unique<MainWindow>(volumes);
        window->show();
        EXPECT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
        EXPECT_EQ(listedIds(),
                  (QStringList{u"00003_de"_s, u"00004_de"_s, u"00001_de"_s, u"00002_de"_s}));
    }

    ViewController &controller() { return window->viewController(); }
    DeleteViewController &deletion() { return *controller().deleteViewController; }
    QToolButton &button() { return *deletion().deleteButton; }
    void choose(const QStringList &ids) { deletion().setSelectedElementIds(ids); }
    void press() { QTest::mouseClick(&button(), Qt::LeftButton); }

    [[nodiscard]] QStringList penFiles() const { return pen.names(u"book"_s); }

    std::unique_ptr<MainWindow> window;
};

TEST_F(Deletion, ButtonIsEnabledWhileTitlesAreChosenAndThePenIsThere)
{
    EXPECT_FALSE(button().isEnabled());
    choose({u"00001_de"_s});
    EXPECT_TRUE(button().isEnabled());
    controller().setIsQuilloAvailable(false);
    EXPECT_FALSE(button().isEnabled());
    controller().setIsQuilloAvailable(true);
    EXPECT_TRUE(button().isEnabled());
    deletion().clearSelectedElementIds();
    EXPECT_FALSE(button().isEnabled());
    EXPECT_EQ(selectedElementIds(), QStringList());
}

TEST_F(Deletion, PullingOutThePenDropsTheChoice)
{
    choose({u"00001_de"_s});
    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    EXPECT_FALSE(button().isEnabled());
    pen.plugIn();
    ASSERT_TRUE(QTest::qWaitFor([this] { return controller().isQuilloAvailable(); }));
    EXPECT_FALSE(button().isEnabled());
}

TEST_F(Deletion, ButtonSaysWhatItDoesInBothLanguages)
{
    EXPECT_FALSE(button().icon().isNull());
    EXPECT_EQ(button().toolTip(), u"Ausgewählte Titel löschen"_s);
    setCurrentLanguage(u"en"_s);
    controller().updateTexts();
    EXPECT_EQ(button().toolTip(), u"Delete selected titles"_s);
    EXPECT_EQ(button().accessibleName(), u"Delete selected titles"_s);
}

TEST_F(Deletion, AlertNamesTheTitlesInLibraryOrder)
{
    Alerts alerts;
    choose({u"00001_de"_s, u"00002_de"_s, u"00003_de"_s, u"gone"_s});
    press();
    ASSERT_EQ(alerts.shown.size(), 1);
    const Alert &alert = alerts.shown.first();
    EXPECT_EQ(alert.windowTitle, u"Titel löschen"_s);
    EXPECT_EQ(alert.messageText, u"Ausgewählte Titel löschen?"_s);
    EXPECT_EQ(alert.informativeText,
              uR"(Diese Titel werden vom Stift gelöscht: "Drache", "Zebra", "Pirat")"_s);
    EXPECT_EQ(alert.buttons, (QStringList{u"OK"_s, u"Abbrechen"_s}));
}

TEST_F(Deletion, CancellingLeavesEverythingAsItWas)
{
    Alerts alerts;
    const QStringList before = penFiles();
    choose({u"00001_de"_s});
    press();
    alerts.answer(false);
    EXPECT_EQ(penFiles(), before);
    EXPECT_EQ(selectedElementIds(), QStringList(u"00001_de"_s));
    EXPECT_TRUE(button().isEnabled());
    EXPECT_EQ(alerts.shown.size(), 1);
}

TEST_F(Deletion, ConfirmingRemovesTheFilesOfEveryChosenTitle)
{
    Alerts alerts;
    pen.write(u"book/00001_de.png"_s, "picture");
    pen.write(u"book/00001_de.old"_s, "other");
    choose({u"00001_de"_s, u"00002_de"_s});
    press();
    CapturedOutput output;
    alerts.answer(true);
    EXPECT_EQ(output.lines().filter(u"Will delete"_s),
              (QStringList{u"\"Will delete Zebra of type Game\""_s,
                           u"\"Will delete Pirat of type Archive\""_s}));
    EXPECT_EQ(penFiles(), (QStringList{u"00001_de.old"_s, u"00003_de.qnk"_s, u"00003_de.txt"_s,
                                       u"00004_de.qnk"_s, u"00004_de.txt"_s}));
    EXPECT_EQ(listedIds(), (QStringList{u"00003_de"_s, u"00004_de"_s}));
    EXPECT_EQ(selectedElementIds(), QStringList());
    EXPECT_FALSE(button().isEnabled());
    EXPECT_EQ(alerts.shown.size(), 1);
}

TEST_F(Deletion, TitlesThatAreInNoListAreRemovedToo)
{
    Alerts alerts;
    pen.write(u"book/00009_de.qnk"_s, "content");
    choose({u"00009_de"_s});
    press();
    EXPECT_EQ(alerts.shown.first().informativeText, u"Diese Titel werden vom Stift gelöscht: "_s);
    alerts.answer(true);
    EXPECT_FALSE(pen.exists(u"book/00009_de.qnk"_s));
    EXPECT_EQ(alerts.shown.size(), 1);
}

TEST_F(Deletion, GaugeIsRefreshed)
{
    Alerts alerts;
    choose({u"00001_de"_s});
    press();
    ASSERT_EQ(NavStorageItem::current, controller().storageMiniView);
    NavStorageItem::current->storageLabel->setText(u"old"_s);
    alerts.answer(true);
    EXPECT_EQ(NavStorageItem::current->storageLabel->text(), u"Speicher"_s);
}

TEST_F(Deletion, PenPulledOutWhileAskingIsTold)
{
    Alerts alerts;
    choose({u"00001_de"_s, u"00002_de"_s});
    press();
    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    const QStringList before = penFiles();
    alerts.answer(true);
    EXPECT_EQ(penFiles(), before);
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_EQ(alerts.shown.last().messageText, u"Nicht alles konnte gelöscht werden"_s);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(uR"("Zebra", "Pirat")"_s));
    EXPECT_EQ(alerts.shown.last().buttons, QStringList(u"OK"_s));
}

TEST_F(Deletion, AnotherPenPluggedInWhileAskingLosesNothing)
{
    Alerts alerts;
    choose({u"00001_de"_s});
    press();
    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    pen.plugIn();
    ASSERT_TRUE(QTest::qWaitFor([this] { return controller().isQuilloAvailable(); }));
    const QStringList before = penFiles();
    alerts.answer(true);
    EXPECT_EQ(penFiles(), before);
    EXPECT_EQ(alerts.shown.size(), 2);
}

TEST_F(Deletion, DeleteKeyInTheContentAreaAsks)
{
    Alerts alerts;
    auto *shown = new QWidget(controller().mainContentView);
    shown->setFocusPolicy(Qt::StrongFocus);
    shown->show();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    shown->setFocus();
    QTest::keyClick(shown, Qt::Key_Delete);
    EXPECT_TRUE(alerts.shown.isEmpty());
    choose({u"00001_de"_s});
    QTest::keyClick(shown, Qt::Key_Delete);
    EXPECT_EQ(alerts.shown.size(), 1);
}

/// The box itself.
class DeletionBox : public Deletion
{
protected:
    DeletionBox()
    {
        choose({u"00001_de"_s});
        press();
        box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    }

    QAbstractButton *boxButton(const QString &text)
    {
        const QList<QAbstractButton *> buttons = box->buttons();
        for (QAbstractButton *candidate : buttons) {
            if (candidate->text() == text)
                return candidate;
        }
        return nullptr;
    }

    QPointer<QMessageBox> box;
};

TEST_F(DeletionBox, IsAWarningThatBlocksTheProgram)
{
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isVisible());
    EXPECT_EQ(box->windowModality(), Qt::ApplicationModal);
    EXPECT_EQ(box->icon(), QMessageBox::Warning);
    EXPECT_EQ(box->windowTitle(), u"Titel löschen"_s);
    EXPECT_EQ(box->text(), u"Ausgewählte Titel löschen?"_s);
    EXPECT_EQ(box->informativeText(), uR"(Diese Titel werden vom Stift gelöscht: "Zebra")"_s);
}

TEST_F(DeletionBox, OkDeletes)
{
    ASSERT_NE(box, nullptr);
    QTest::mouseClick(boxButton(u"OK"_s), Qt::LeftButton);
    EXPECT_FALSE(pen.exists(u"book/00001_de.txt"_s));
    EXPECT_TRUE(QTest::qWaitFor([this] { return box.isNull(); }));
}

TEST_F(DeletionBox, CancelDoesNot)
{
    ASSERT_NE(box, nullptr);
    QTest::mouseClick(boxButton(u"Abbrechen"_s), Qt::LeftButton);
    EXPECT_TRUE(pen.exists(u"book/00001_de.txt"_s));
}

TEST_F(DeletionBox, EscapeDoesNot)
{
    ASSERT_NE(box, nullptr);
    QTest::keyClick(box, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([this] { return box.isNull(); }));
    EXPECT_TRUE(pen.exists(u"book/00001_de.txt"_s));
}

TEST_F(Deletion, BoxNamingVeryManyTitlesStaysOnTheScreen)
{
    QStringList ids;
    for (int number = 0; number < 500; ++number) {
        Book title{BaseElement()};
        title.id = QString::number(number);
        title.name = u"Der kleine Drache lernt fliegen, Band %1"_s.arg(number);
        bookList() += std::make_shared<Book>(title);
        ids += title.id;
    }
    choose(ids);
    press();
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    EXPECT_LT(box->height(), 600);
    EXPECT_TRUE(box->informativeText().endsWith(u"Band 499\""_s));
}

TEST_F(Deletion, BoxShowsNamesAsTheyAre)
{
    Book title{BaseElement()};
    title.id = u"1"_s;
    title.name = u"<b>Fett</b>"_s;
    bookList() += std::make_shared<Book>(title);
    choose({title.id});
    press();
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    for (QLabel *label : box->findChildren<QLabel *>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

TEST_F(DeletionBox, GoesWithTheWindow)
{
    ASSERT_NE(box, nullptr);
    window.reset();
    EXPECT_EQ(box, nullptr);
    EXPECT_TRUE(pen.exists(u"book/00001_de.txt"_s));
}

/// The controller alone, beside a shown view that notes when it is told what.
class ToldView : public PenAppTest, public DeletionOwner, public DeletionHandling
{
protected:
    ToldView()
    {
        for (const char *id : {"00001_de", "00002_de", "00003_de"})
            writeTitle(pen, QString::fromLatin1(id), QByteArray("Titel ") + id[4], "Buch");
        readLibrary();
        controller.viewController = this;
        controller.setSelectedElementIds({u"00001_de"_s, u"00002_de"_s, u"00003_de"_s});
    }

    [[nodiscard]] bool isQuilloAvailable() const override { return true; }
    [[nodiscard]] DeletionHandling *shownDeletionHandling() override { return this; }
    [[nodiscard]] QTableView *listTable() override { return nullptr; }
    void getBaseElementsFromPen() override
    {
        readLibrary();
        steps += u"read"_s;
    }
    void willDelete(const QStringList &ids) override
    {
        steps +=
            u"will "_s + ids.join(u' ') + (pen.exists(u"book/00001_de.txt"_s) ? u""_s : u"!"_s);
        // What a table does that loses its rows.
        controller.setSelectedElementIds({});
    }
    void didDelete() override { steps += u"did "_s + listedIds().join(u' '); }

    void deleteAll()
    {
        controller.deleteButtonAction();
        alerts.answer(true);
    }

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
    ~AsOrdinaryUser()
    {
        if (geteuid() == 0)
            setfsuid(0);
    }
    AsOrdinaryUser(const AsOrdinaryUser &) = delete;
    AsOrdinaryUser &operator=(const AsOrdinaryUser &) = delete;
};

class OneStuckTitle : public ToldView
{
protected:
    OneStuckTitle()
    {
        // A folder whose content cannot be removed stands in the content file's place.
        pen.remove(u"book/00002_de.qnk"_s);
        pen.write(u"book/00002_de.qnk/file"_s, "x");
        setFolderPermissions(QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther
                             | QFile::ExeOther);
    }
    ~OneStuckTitle() override
    {
        setFolderPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void setFolderPermissions(QFile::Permissions permissions) const
    {
        EXPECT_TRUE(QFile::setPermissions(pen.path(u"book/00002_de.qnk"_s), permissions));
    }
};

TEST_F(OneStuckTitle, IsToldByNameWhileTheOthersGo)
{
    {
        const AsOrdinaryUser user(pen);
        deleteAll();
    }
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00002_de.qnk"_s));
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(uR"(: "Titel 2".)"_s));
    EXPECT_FALSE(controller.deleteButton->isEnabled());
}

/// A pen that is pulled out as soon as a certain file has gone.
class PulledDuringDeletion : public FolderVolumes
{
public:
    PulledDuringDeletion(const QString &folder, QString file)
        : FolderVolumes(folder)
        , m_file(std::move(file))
    {
    }

    [[nodiscard]] QList<Volume> volumes() const override
    {
        return QFile::exists(m_file) ? FolderVolumes::volumes() : QList<Volume>();
    }
    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override
    {
        return QFile::exists(m_file) ? FolderVolumes::volume(name) : std::nullopt;
    }

private:
    QString m_file;
};

TEST_F(ToldView, PenPulledOutMidwayTellsWhatMayBeLeft)
{
    PulledDuringDeletion pulled(pen.volumes(), pen.path(u"book/00002_de.txt"_s));
    FileManager::setVolumeSource(&pulled);
    deleteAll();
    EXPECT_EQ(pen.names(u"book"_s),
              (QStringList{u"00002_de.qnk"_s, u"00003_de.qnk"_s, u"00003_de.txt"_s}));
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(uR"(: "Titel 2", "Titel 3".)"_s));
    FileManager::setVolumeSource(&volumes);
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
    const QStringList ids = selectedElementIds();
    bool pulled = true;
    for (int looks = 0; pulled; ++looks) {
        for (const QString &id : ids)
            writeTitle(pen, id, "Titel " + id.mid(4, 1).toLatin1(), "Buch");
        readLibrary();
        controller.setSelectedElementIds(ids);
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
