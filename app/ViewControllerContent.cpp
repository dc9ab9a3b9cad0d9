#include "app/ViewController.h"

#include "app/NavCollectionView.h"
#include "app/NavigationViewController.h"
#include "base/EmptyStateView.h"
#include "base/ViewPlacement.h"
#include "bluetooth/VideosController.h"
#include "library/CategoryControllers.h"
#include "library/LibraryLists.h"
#include "library/LibraryViewing.h"
#include "library/MusicView.h"
#include "library/MyQuilloTitlesController.h"
#include "pen/StorageController.h"
#include "ui/DeleteViewController.h"
#include "ui/ShopController.h"

// What the main window's controller puts into the content area.

void ViewController::addContentFactories()
{
    const auto add = [this](NavElementType type, const std::function<QWidget *()> &make) {
        navigationViewController->setContentFactory(type, make);
    };
    add(NavElementType::MyTitles, [this] { return makeTitlesView(); });
    add(NavElementType::Books,
        [this] { return myBooksController = new MyBooksController(*this, mainContentView); });
    add(NavElementType::Games,
        [this] { return gamesController = new GamesController(*this, mainContentView); });
    add(NavElementType::LearningMaterials, [this] {
        return learningMaterialController = new LearningMaterialController(*this, mainContentView);
    });
    add(NavElementType::Archive, [this] {
        return archiveViewController = new ArchiveViewController(*this, mainContentView);
    });
    add(NavElementType::Music,
        [this] { return musicController = new MusicView(*this, mainContentView); });
    add(NavElementType::Storage,
        [this] { return storageController = new StorageController(*this, mainContentView); });
    add(NavElementType::Videos, [this] {
        return videosController = new VideosController(&bluetoothService, mainContentView);
    });
    add(NavElementType::Shop,
        [this] { return shopController = new ShopController(mainContentView); });
}

QWidget *ViewController::makeTitlesView()
{
    const QPointer<MyQuilloTitlesController> before = myQuilloTitlesController;
    myQuilloTitlesController = new MyQuilloTitlesController(*this, mainContentView);
    myQuilloTitlesController->showLibrary();
    // A page that takes the place of itself, as after a deletion, stays where it was.
    if (before)
        myQuilloTitlesController->setStanding(before->standing());
    return myQuilloTitlesController;
}

void ViewController::showView(NavElementType type)
{
    navigationViewController->showView(type);
}

void ViewController::showTitlesView()
{
    showView(NavElementType::MyTitles);
}

void ViewController::showFoundTitles(const QString &words)
{
    if (words.isEmpty()) {
        showTitlesView();
        return;
    }
    auto *found = new MyQuilloTitlesController(*this, mainContentView);
    found->showFound(words);
    const auto *before = navigationViewController->activeContent<MyQuilloTitlesController>();
    if (before && before->words() == words)
        found->setStanding(before->standing());
    navigationViewController->loadView(found);
    // It is none of the categories.
    navigationViewController->navCollectionView->selectQuietly({});
}

void ViewController::closeFoundTitles()
{
    const auto *shown = navigationViewController->activeContent<MyQuilloTitlesController>();
    if (shown && shown->words())
        showTitlesView();
}

void ViewController::searchPen()
{
    showView(NavElementType::Videos);
    bluetoothService.startScan();
}

void ViewController::showBooksView()
{
    navigationViewController->showBooksView();
}

void ViewController::libraryChanged()
{
    deleteViewController->dropGoneTitles();
    if (auto *shown = navigationViewController->activeContent<LibraryViewing>())
        shown->libraryChanged();
    deleteViewController->updateDeleteButton();
}

DeletionHandling *ViewController::shownDeletionHandling()
{
    return navigationViewController->activeContent<DeletionHandling>();
}

void ViewController::focusTitles()
{
    DeletionHandling *shown = shownDeletionHandling();
    if (!shown || !shown->takeFocus())
        navigationViewController->setFocus();
}

DeletionSelecting *ViewController::deletionSelection()
{
    return deleteViewController;
}

void ViewController::resetAfterUnmount()
{
    const bool focused = mainContentView->isAncestorOf(window()->focusWidget());
    navigationViewController->resetAfterUnmount();
    m_noPenView = new EmptyStateView(EmptyStateView::Reason::NoPen, mainContentView);
    pinEdges(*m_noPenView, *mainContentView);
    m_noPenView->show();
    if (focused)
        m_noPenView->setFocus();
}
