#pragma once

#include "app/NavElement.h"
#include "app/NavigationOwner.h"
#include "app/PenPresence.h"
#include "base/Localization.h"
#include "bluetooth/BluetoothService.h"
#include "download/LibraryReloading.h"
#include "library/ContentOwner.h"
#include "library/CoverCache.h"
#include "library/MusicService.h"
#include "platform/Hardware.h"
#include "platform/SoundPlayer.h"
#include "ui/HeaderMenuOwner.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class ArchiveViewController;
class DeleteViewController;
class DownloadWindow;
class EmptyStateView;
class GamesController;
class HeaderBar;
class HeaderViewController;
class LanguageViewController;
class LearningMaterialController;
class MusicView;
class MyBooksController;
class MyQuilloTitlesController;
class NavigationViewController;
class SearchViewController;
class ShopController;
class QLabel;
class QToolButton;
class StorageController;
class UpdateService;
class VideosController;

/// The main window's content and the hub of the program: owns services and permanent views, knows
/// whether the pen is there, and runs the start-up sequence. Main thread only.
class ViewController : public QWidget,
                       public LibraryReloading,
                       public NavigationOwner,
                       public ContentOwner,
                       public HeaderMenuOwner,
                       private LanguageHandling
{
    Q_OBJECT

public:
    explicit ViewController(const Hardware &hardware, QWidget *parent = nullptr);
    ~ViewController() override;

    /// Once, when the view stands in its window.
    void viewDidLoad();

    void loadData() override;
    void showBooksView() override;
    /// Builds the category's view anew and shows it.
    void showView(NavElementType type);

    [[nodiscard]] DeletionHandling *shownDeletionHandling() override;

    void ejectQuillo();
    [[nodiscard]] PenPresence &pen() { return m_pen; }
    [[nodiscard]] bool isQuilloAvailable() const override { return m_pen.isAvailable(); }
    void setIsQuilloAvailable(bool available);
    [[nodiscard]] const std::optional<QString> &quilloName() const { return m_pen.name(); }

    [[nodiscard]] ViewMode viewMode() const override { return m_viewMode; }
    void setViewMode(ViewMode mode);
    void toggleViewMode() override;

    [[nodiscard]] DownloadWindow *downloadWindow() const;
    [[nodiscard]] CoverCache &coverCache() override { return m_coverCache; }
    [[nodiscard]] bool isReadingMusic() const override { return musicService.isReadingFirst(); }

    // Outlets.
    QWidget *headerView = nullptr;
    QWidget *deleteViewContainer = nullptr;
    QWidget *searchViewContainer = nullptr;
    QWidget *languageContainer = nullptr;
    QWidget *navigationViewContainer = nullptr;
    QWidget *contentView = nullptr;
    QWidget *mainContentView = nullptr;
    QWidget *storageMiniView = nullptr;
    QToolButton *usbConnectionImageBtn = nullptr;

    // The content of each category while it is shown.
    QPointer<VideosController> videosController;
    QPointer<ShopController> shopController;
    QPointer<MyBooksController> myBooksController;
    QPointer<GamesController> gamesController;
    QPointer<StorageController> storageController;
    QPointer<MusicView> musicController;
    QPointer<MyQuilloTitlesController> myQuilloTitlesController;
    QPointer<ArchiveViewController> archiveViewController;
    QPointer<LearningMaterialController> learningMaterialController;

    HeaderViewController *headerViewController = nullptr;
    DeleteViewController *deleteViewController = nullptr;
    SearchViewController *searchViewController = nullptr;
    LanguageViewController *languageViewController = nullptr;
    NavigationViewController *navigationViewController = nullptr;

    std::unique_ptr<UpdateService> updateService; ///< from viewDidLoad() on
    BluetoothService bluetoothService;

    MusicService musicService;

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // For those who know it as an owner.
    /// Fills the title lists from the pen; who asks for it tells the view shown.
    void getBaseElementsFromPen() override;
    void showTitlesView() override;
    void showFoundTitles(const QString &words) override;
    void closeFoundTitles() override;
    void showMessage(const std::function<QString()> &text) override;
    void focusTitles() override;
    [[nodiscard]] DeletionSelecting *deletionSelection() override;
    [[nodiscard]] int penNumber() const override { return m_pen.number(); }
    [[nodiscard]] QWidget &contentArea() override { return *mainContentView; }
    void searchPen() override;
    [[nodiscard]] LanguageViewController &languageSwitch() override
    {
        return *languageViewController;
    }
    /// Everything that is open follows the current language.
    void languageChanged() override;

    void viewDidAppear();
    [[nodiscard]] bool windowShouldClose();

    void loadOutlets();
    void setTabOrders();
    void setFrame();
    void prepareBaseViews();
    void initSubViews();
    void initHeaderView();
    void initDeleteView();
    void initSearchView();
    void initLanguageView();
    void initNavView();
    void makeDownloadWindow();
    void addContentFactories();
    [[nodiscard]] QWidget *makeTitlesView();
    void libraryChanged();

    void loadMusic();
    void musicLoaded(const MusicList &music);
    void updateStorageGauge();
    void setUsbControlsEnabled(bool enabled);
    void resetAfterUnmount();
    void updateTexts();
    void hideMessage();

    void penMounted();
    void penUnmounted();
    void ejectEnded(const QString &error);

    PenPresence m_pen;
    CoverCache m_coverCache;
    SoundPlayer m_soundPlayer;
    QPointer<DownloadWindow> m_downloadWindow;

    HeaderBar *m_header = nullptr;
    QLabel *m_messageLine = nullptr;
    QPointer<EmptyStateView> m_noPenView;
    std::function<QString()> m_message; ///< in the current language; empty for none
    QTimer m_messageTimer;

    ViewMode m_viewMode = ViewMode::tiled;
};
