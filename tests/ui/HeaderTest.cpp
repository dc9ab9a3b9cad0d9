#include "tests/app/AppFixture.h"

#include "app/NavCollectionView.h"
#include "app/NavigationViewController.h"
#include "base/EmptyStateView.h"
#include "bluetooth/VideosController.h"
#include "library/CategoryControllers.h"
#include "library/MyQuilloTitlesController.h"
#include "library/SearchViewController.h"
#include "library/TileView.h"
#include "pen/NavStorageItem.h"
#include "platform/Workspace.h"
#include "ui/DeleteViewController.h"
#include "ui/DialogUtil.h"
#include "ui/HeaderViewController.h"
#include "ui/LanguageViewController.h"
#include "ui/LegalWindowController.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>

#include <chrono>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

class HeaderTest : public WindowTest
{
protected:
    HeaderTest()
    {
        for (int i = 100; i < 160; ++i)
            writeTitle(pen, u"00%1_de"_s.arg(i), "Titel " + QByteArray::number(i), "Buch");
        start();
    }
    ~HeaderTest() override { setCurrentLanguage(u"de"_s); }

    DeleteViewController &header() { return *controller().deleteViewController; }
    LanguageViewController &flags() { return *controller().languageViewController; }
    QAction &entry(const QString &key)
    {
        for (const QMenu *menu : {header().dropDownMenu, header().languageDropDownMenu}) {
            for (QAction *action : menu->actions()) {
                if (action->text() == localized(key))
                    return *action;
            }
        }
        ADD_FAILURE() << qPrintable(key);
        return *header().dropDownMenu->actions().first();
    }
    QStringList titles(const QMenu &menu)
    {
        QStringList texts;
        for (const QAction *action : menu.actions())
            texts += action->text();
        return texts;
    }
    static bool shows(const QToolButton &button, const QString &image)
    {
        const QSize size(32, 23);
        return button.icon().pixmap(size).toImage()
               == QIcon(u":/images/"_s + image + u".svg"_s).pixmap(size).toImage();
    }
    LegalWindowController *openLegal(const QString &key)
    {
        entry(key).trigger();
        return header().legalWindowController;
    }
};

TEST_F(HeaderTest, MenuSpeaksTheLanguageAndItsEntriesReachTheirTargets)
{
    EXPECT_EQ(titles(*header().dropDownMenu),
              (QStringList{u"Ansicht wechseln"_s, u"Sprache"_s, u"Stift über Bluetooth suchen"_s,
                           u"Impressum"_s, u"Datenschutz"_s}));
    testing::internal::CaptureStdout();
    entry(u"dropdown_lang_english"_s).trigger();
    EXPECT_EQ(titles(*header().dropDownMenu),
              (QStringList{u"Change view"_s, u"Language"_s, u"Find pen via Bluetooth"_s,
                           u"Legal information"_s, u"Privacy"_s}));
    EXPECT_EQ(titles(*header().languageDropDownMenu), (QStringList{u"German"_s, u"English"_s}));
    EXPECT_TRUE(entry(u"dropdown_lang_english"_s).isChecked());
    EXPECT_EQ(entry(u"dropdown_change_lang"_s).menu(), header().languageDropDownMenu);
    entry(u"dropdown_lang_german"_s).trigger();
    EXPECT_EQ(currentLanguage(), u"de"_s);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find("Menu language english\n"), std::string::npos);
    EXPECT_NE(printed.find("Menu language german\n"), std::string::npos);

    entry(u"dropdown_change_view"_s).trigger();
    EXPECT_EQ(controller().viewMode(), ViewMode::list);
    const QPointer<LegalWindowController> first = openLegal(u"dropdown_privacy"_s);
    const QPointer<LegalWindowController> second = openLegal(u"dropdown_legal_information"_s);
    EXPECT_TRUE(first && second && first != second && first->isVisible() && second->isVisible());
    EXPECT_EQ(first->legalOrPrivacy, u"Datenschutz"_s);
    EXPECT_EQ(second->legalOrPrivacy, u"Impressum"_s);
    // A desktop may have added an access key.
    entry(u"dropdown_bluetooth"_s).setText(u"&Stift über Bluetooth suchen"_s);
    header().dropDownMenu->actions().at(2)->trigger();
    EXPECT_TRUE(controller().videosController && controller().bluetoothService.scanning());
}

TEST_F(HeaderTest, ModesChangeOnlyWhileThePenIsThere)
{
    EXPECT_TRUE(entry(u"dropdown_change_view"_s).isEnabled());
    pullOut();
    EXPECT_FALSE(entry(u"dropdown_change_view"_s).isEnabled());
    flags().englishButtonAction();
    EXPECT_FALSE(entry(u"dropdown_change_view"_s).isEnabled());
    plugIn();
    EXPECT_TRUE(entry(u"dropdown_change_view"_s).isEnabled());
}

TEST_F(HeaderTest, FlagsSwitchTheLanguageAndNothingMoves)
{
    activate();
    TileView &tiles = *controller().myBooksController->collectionView;
    tiles.setFocus();
    tiles.setCurrentIndex(tiles.model()->index(40, 0));
    const int scrolled = tiles.verticalScrollBar()->value();
    ASSERT_GT(scrolled, 0);
    removeLog();
    QTest::mouseClick(flags().englishButton, Qt::LeftButton);
    EXPECT_EQ(QApplication::focusWidget(), &tiles);
    EXPECT_EQ(tiles.currentIndex().row(), 40);
    EXPECT_EQ(tiles.verticalScrollBar()->value(), scrolled);
    EXPECT_EQ(
        controller().navigationViewController->navCollectionView->selected().data().toString(),
        u"Books"_s);
    EXPECT_EQ(controller().headerViewController->titleLabel->text(), u"My listening pen"_s);
    EXPECT_EQ(controller().searchViewController->searchField->placeholderText(),
              u"Search titles"_s);
    EXPECT_TRUE(NavStorageItem::current->findChild<QLabel *>(u"detailedStorageLabel"_s)
                    ->text()
                    .contains(u" used"_s));
    EXPECT_EQ(logLines({u"loadData "_s}).first(), u"loadData Beginn"_s);
    EXPECT_TRUE(shows(*flags().englishButton, u"if_United-Kingdom_92403"_s));
    EXPECT_TRUE(shows(*flags().germanButton, u"if_Germany_92095_transparent"_s));
    EXPECT_EQ(flags().germanButton->toolTip(), u"German"_s);
    EXPECT_EQ(QLocale().language(), QLocale::English);
    QTest::mouseClick(flags().germanButton, Qt::LeftButton);
    EXPECT_TRUE(shows(*flags().englishButton, u"if_United-Kingdom_92403_transparent"_s));
    EXPECT_TRUE(shows(*flags().germanButton, u"if_Germany_92095"_s));
    EXPECT_EQ(QCoreApplication::translate("QLineEdit", "Select All"), u"Alles auswählen"_s);
}

TEST_F(HeaderTest, SearchShowsWhatItFoundAsAPageOfItsOwn)
{
    writeTitle(pen, u"00001_de"_s, "Der große Ba\u0308r", "Spiel");
    controller().loadData();
    QLineEdit &field = *controller().searchViewController->searchField;
    for (const auto &[words, books, games] :
         {std::tuple{u"BÄR"_s, 0, 1}, std::tuple{u"bar"_s, 0, 0}, std::tuple{u"titel 15"_s, 10, 0},
          std::tuple{u"GROẞE b"_s, 0, 1}, std::tuple{u" titel"_s, 0, 0}}) {
        SCOPED_TRACE(qPrintable(words));
        field.setText(words);
        QTest::keyClick(&field, Qt::Key_Return);
        auto *page = qobject_cast<MyQuilloTitlesController *>(
            controller().navigationViewController->activeSubViewController());
        ASSERT_NE(page, nullptr);
        EXPECT_EQ(page->myQuilloBooksController->elements().size(), books);
        EXPECT_EQ(page->myGamesController->elements().size(), games);
        EXPECT_FALSE(
            controller().navigationViewController->navCollectionView->selected().isValid());
    }
    pullOut();
    EXPECT_TRUE(field.text().isEmpty() && foundBookList().isEmpty());
}

TEST_F(HeaderTest, FoundPageKeepsItsWordsUntilItIsLeft)
{
    SearchViewController &search = *controller().searchViewController;
    QLineEdit &field = *search.searchField;
    NavigationViewController &navigation = *controller().navigationViewController;
    const auto found = [&] {
        auto *page = navigation.activeContent<MyQuilloTitlesController>();
        return page && page->words() ? page : nullptr;
    };
    search.pause = std::chrono::milliseconds(1);
    activate();
    QTest::keyClick(window.get(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), u"titel"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return found() && found()->words() == u"titel"_s; }));
    EXPECT_TRUE(field.hasFocus());
    EXPECT_EQ(found()->accessibleName(), u"Gefunden: 60"_s);
    writeTitle(pen, u"00200_de"_s, "Titel 200", "Buch");
    flags().englishButtonAction();
    EXPECT_EQ(found()->accessibleName(), u"Found: 61"_s);
    EXPECT_FALSE(navigation.navCollectionView->selected().isValid());
    found()->setStanding({.scrollPosition = 300});
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(found()->standing().scrollPosition, 300);
    QTest::keyClick(&field, Qt::Key_Down);
    EXPECT_TRUE(found()->isAncestorOf(QApplication::focusWidget()));
    field.setText(u"<i>Titel</i>"_s + QString(200, u'W'));
    QTest::keyClick(&field, Qt::Key_Return);
    auto *empty = found()->findChild<EmptyStateView *>();
    EXPECT_TRUE(empty->isVisible());
    EXPECT_TRUE(empty->accessibleDescription().contains(u"“<i>Titel</i>WW"_s));
    EXPECT_LT(empty->accessibleDescription().size(), 120);
    QTest::keyClick(&field, Qt::Key_Escape);
    EXPECT_TRUE(field.text().isEmpty() && !found());
    EXPECT_EQ(controller().myQuilloTitlesController->standing().scrollPosition, 0);

    field.setText(u"titel"_s);
    QTest::keyClick(&field, Qt::Key_Return);
    navigation.navCollectionView->setFocus(Qt::TabFocusReason);
    QTest::keyClick(navigation.navCollectionView, Qt::Key_Down);
    EXPECT_TRUE(!found() && navigation.navCollectionView->selected().isValid());
    search.pause = std::chrono::minutes(1);
    QTest::keyClick(&field, Qt::Key_A);
    EXPECT_TRUE(search.findChild<QTimer *>()->isActive());
    controller().showView(NavElementType::Games);
    EXPECT_FALSE(search.findChild<QTimer *>()->isActive());
}

TEST_F(HeaderTest, LegalTextsAreGermanWhateverTheLanguageAndTheirLinksOpenInTheBrowser)
{
    QUrl opened;
    Workspace::setOpener([&opened](const QUrl &address) {
        opened = address;
        return true;
    });
    flags().englishButtonAction();
    for (const auto &[key, first, last] :
         {std::tuple{u"dropdown_legal_information"_s, u"Impressum"_s, u"Urheberrecht"_s},
          std::tuple{u"dropdown_privacy"_s, u"1. Allgemeines"_s, u"11. Beschwerderecht"_s}}) {
        const QPointer<LegalWindowController> legal = openLegal(key);
        const QString text = legal->textView->toPlainText();
        EXPECT_TRUE(text.contains(first + u'\n') && text.contains(last + u'\n'));
        EXPECT_TRUE(text.endsWith(u"\nStand: April 2019"_s));
        EXPECT_EQ(legal->windowTitle(), localized(key));
        flags().germanButtonAction();
        EXPECT_TRUE(
            QTest::qWaitFor([&, key = key] { return legal->windowTitle() == localized(key); }));
        flags().englishButtonAction();
        ASSERT_TRUE(QTest::qWaitForWindowActive(legal));
        QTest::keyClick(legal->textView, Qt::Key_Tab); // to the first link
        QTest::keyClick(legal->textView, Qt::Key_Return);
        EXPECT_EQ(opened, QUrl(u"mailto:hilfe@quillo.example"_s));
        EXPECT_EQ(legal->textView->toPlainText(), text);
        QTest::keyClick(legal, Qt::Key_Escape);
        EXPECT_TRUE(QTest::qWaitFor([&] { return legal.isNull(); }));
    }
    Workspace::setOpener({});
    LegalWindowController neither(u"Shop"_s, window.get());
    EXPECT_TRUE(neither.textView->toPlainText().isEmpty());
}

TEST_F(HeaderTest, OpenAlertFollowsTheLanguage)
{
    DialogUtil::confirmDeletion({u"00100_de"_s}, *window, {});
    const auto *box = window->findChild<QMessageBox *>();
    flags().englishButtonAction();
    EXPECT_TRUE(QTest::qWaitFor([&] { return box->text() == localized(u"confirm_delete"_s); }));
    EXPECT_TRUE(box->informativeText().contains(u"Titel 100"_s));
    EXPECT_EQ(box->defaultButton()->text(), u"Cancel"_s);
}

/// Where the window is too narrow for all.
TEST_F(HeaderTest, PartsGiveWayInTheirOrder)
{
    const QFont font = QApplication::font();
    for (const int points : {font.pointSize(), 14}) {
        QFont large = font;
        large.setPointSize(points);
        QApplication::setFont(large);
        for (const auto press : {&LanguageViewController::englishButtonAction,
                                 &LanguageViewController::germanButtonAction}) {
            (flags().*press)();
            int parts = 0; // seen before, in a narrower window
            for (const int width : {720, 800, 860, 1000, 1440}) {
                window->resize(width, 500);
                QCoreApplication::processEvents();
                EXPECT_EQ(window->width(), width);
                const bool title = controller().headerViewController->titleLabel->isVisible();
                const bool flagsSeen = flags().isVisible();
                EXPECT_TRUE(flagsSeen || !title);
                EXPECT_GE(title + flagsSeen, parts);
                parts = title + flagsSeen;
                const QLineEdit &field = *controller().searchViewController->searchField;
                EXPECT_GE(field.width(),
                          flagsSeen ? field.sizeHint().width() : field.minimumWidth());
            }
            EXPECT_EQ(parts, 2);
        }
    }
    QApplication::setFont(font);
}

} // namespace
