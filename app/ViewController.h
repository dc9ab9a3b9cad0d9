#pragma once

#include "app/NavElement.h"
#include "app/NavigationOwner.h"
#include "download/LibraryReloading.h"
#include "library/ContentOwner.h"
#include "library/CoverCache.h"
#include "library/Music.h"
#include "platform/SoundPlayer.h"
#include "platform/Workspace.h"
#include "ui/DeletionOwner.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class ArchiveViewController;
class DeleteViewController;
class DownloadWindow;
class EmptyStateView;
class GamesController;
class ImageView;
class LearningMaterialController;
class MusicController;
class MyBooksController;
class MyQuilloTitlesController;
class NavigationViewController;
class QLabel;
class QToolButton;
class StorageController;
class UpdateService;

/// The main window's content and the hub of the program: owns services and permanent views, knows
/// whether the pen is there, and runs the start-up sequence. Main thread only.
class ViewController : public QWidget,
                       public LibraryReloading,
                       public NavigationOwner,
                       public ContentOwner,
                       public DeletionOwner
{
    Q_OBJECT

public:
    explicit ViewController(VolumeSource &volumes, QWidget *parent = nullptr);
    ~ViewController() override;

    /// Once, when the view stands in its window.
    void viewDidLoad();

    void loadData() override;
    /// Fills the title lists from the pen.
    void getBaseElementsFromPen() override;
    void showBooksView() override;

    void showTitlesView() override;
    /// Builds the category's view anew and shows it.
    void showView(NavElementType type);

    [[nodiscard]] DeletionHandling *shownDeletionHandling() override;
    void focusTitles() override;
    [[nodiscard]] DeletionSelecting *deletionSelection() override;

    /// Unmounts the pen. An answer that has not come after `ejectPatience` is a failure; one that
    /// comes after the pen has gone is none.
    void ejectQuillo();
    std::chrono::milliseconds ejectPatience = std::chrono::minutes(5); // it may have to write much

    [[nodiscard]] bool isQuilloAvailable() const override { return m_isQuilloAvailable; }
    void setIsQuilloAvailable(bool available);

    [[nodiscard]] ViewMode viewMode() const override { return m_viewMode; }
    void setViewMode(ViewMode mode);
    void toggleViewMode();

    /// The main window's texts anew in the current language; the categories' texts are not its own.
    void updateTexts();

    /// Tells the person something without waiting for an answer; gone after a while.
    void showMessage(const QString &text);

    [[nodiscard]] DownloadWindow *downloadWindow() const;
    [[nodiscard]] CoverCache &coverCache() override { return m_coverCache; }
    [[nodiscard]] QWidget &contentArea() override { return *mainContentView; }

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
    QPointer<MyBooksController> myBooksController;
    QPointer<GamesController> gamesController;
    QPointer<StorageController> storageController;
    QPointer<MusicController> musicController;
    QPointer<MyQuilloTitlesController> myQuilloTitlesController;
    QPointer<ArchiveViewController> archiveViewController;
    QPointer<LearningMaterialController> learningMaterialController;

    DeleteViewController *deleteViewController = nullptr;
    NavigationViewController *navigationViewController = nullptr;

    std::unique_ptr<UpdateService> updateService; ///< from viewDidLoad() on
    /// The pen's volume as its address spells it; keeps the last value when the pen goes.
    std::optional<QString> quilloName;

    /// Lists the music on the pen; called on the pool. Without it the music list stays as it is.
    std::function<MusicList()> getMusicFromPen;

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void viewDidAppear();
    [[nodiscard]] bool windowShouldClose();

    void loadOutlets();
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
    [[nodiscard]] QWidget *makePlainView(NavElementType type);
    void libraryChanged();

    void loadMusic();
    void musicLoaded(int load, const MusicList &music);
    void updateStorageGauge();
    void setUsbControlsEnabled(bool enabled);
    void resetAfterUnmount();

    void addMountDetector();
    void didMount(const QVariantMap &userInfo);
    void didUnMount(const QVariantMap &userInfo);
    void penMounted();
    [[nodiscard]] bool isPenStillThere(const QString &unmounted) const;
    void penUnmounted();
    void ejectEnded(const QString &error);
    void forgetEject();

    Workspace m_workspace;
    CoverCache m_coverCache;
    SoundPlayer m_soundPlayer;
    QPointer<DownloadWindow> m_downloadWindow;

    ImageView *m_logoImageView = nullptr;
    QLabel *m_titleLabel = nullptr;
    QLabel *m_messageLine = nullptr;
    QPointer<EmptyStateView> m_noPenView;
    QTimer m_messageTimer;
    QTimer m_ejecting; ///< runs while an eject is under way

    int m_musicLoad = 0; ///< the one whose result counts
    int m_eject = 0;     ///< the one whose answer counts
    bool m_isQuilloAvailable = false;
    ViewMode m_viewMode = ViewMode::tiled;
};
