#include "tests/ui/DeletionFixture.h"

#include "library/MyQuilloTitlesController.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace {

TEST_F(Deletion, AlertNamesTheTitlesInLibraryOrder)
{
    Alerts alerts;
    press({zebra, pirat, drache, u"gone"_s});
    ASSERT_EQ(alerts.shown.size(), 1);
    const Alert &alert = alerts.shown.first();
    EXPECT_EQ(alert.windowTitle, u"Titel löschen"_s);
    EXPECT_EQ(alert.messageText, u"Ausgewählte Titel löschen?"_s);
    EXPECT_EQ(alert.informativeText,
              uR"(Diese Titel werden vom Stift gelöscht: "Drache", "Zebra", "Pirat")"_s);
    EXPECT_EQ(alert.buttons, (QStringList{u"OK"_s, u"Abbrechen"_s}));
    EXPECT_EQ(button().toolTip(), u"Ausgewählte Titel löschen"_s);
    EXPECT_EQ(button().accessibleName(), button().toolTip());
    EXPECT_FALSE(button().icon().isNull());
}

/// The box itself.
class DeletionBox : public Deletion
{
protected:
    void open(const QStringList &ids)
    {
        press(ids);
        box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
    }
    void click(const QString &text)
    {
        for (QAbstractButton *candidate : box->buttons()) {
            if (candidate->text() == text)
                QTest::mouseClick(candidate, Qt::LeftButton);
        }
    }

    QPointer<QMessageBox> box;
};

TEST_F(DeletionBox, OnlyOkDeletesAndTheBoxGoesWithTheWindow)
{
    const std::initializer_list<std::function<void()>> refusals{
        [this] { click(u"Abbrechen"_s); }, [this] { QTest::keyClick(box, Qt::Key_Escape); },
        [this] {
            QTest::keyClick(box, Qt::Key_Return);
        }};
    for (const auto &refuse : refusals) {
        open({zebra});
        EXPECT_EQ(box->windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(box->icon(), QMessageBox::Warning);
        EXPECT_EQ(box->text(), u"Ausgewählte Titel löschen?"_s);
        refuse();
        EXPECT_TRUE(QTest::qWaitFor([this] { return box.isNull(); }));
        EXPECT_EQ(penFiles().size(), 8);
        EXPECT_EQ(selectedElementIds(), QStringList(zebra));
    }
    open({zebra});
    click(u"OK"_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return box.isNull(); }));
    EXPECT_EQ(penFiles().size(), 6);
    open({affe});
    window.reset();
    EXPECT_EQ(box, nullptr);
    EXPECT_EQ(penFiles().size(), 6);
}

TEST_F(DeletionBox, NamesVeryManyTitlesAsTheyAreWithinTheScreen)
{
    QStringList ids;
    for (int number = 0; number < 10'000; ++number) {
        Book title{BaseElement()};
        title.id = QString::number(number);
        title.name = u"<b>Der kleine Drache</b> lernt fliegen, Band %1"_s.arg(number);
        bookList() += std::make_shared<Book>(title);
        ids += title.id;
    }
    controller().myQuilloTitlesController->libraryChanged();
    open(ids);
    EXPECT_LT(box->height(), 600);
    auto *names = box->findChild<QPlainTextEdit *>();
    ASSERT_NE(names, nullptr);
    EXPECT_TRUE(names->toPlainText().contains(u"\n\"<b>Der kleine Drache</b> lernt"_s));
    names->setFocus();
    QTest::keyClick(names, Qt::Key_End);
    EXPECT_TRUE(names->toPlainText().endsWith(u"Band 9999\""_s));
    EXPECT_EQ(names->verticalScrollBar()->value(), names->verticalScrollBar()->maximum());
    for (const QLabel *label : box->findChildren<QLabel *>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

} // namespace
