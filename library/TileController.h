#pragma once

#include "base/Localization.h"
#include "library/CollectionViewItem.h"
#include "library/Deletion.h"
#include "library/ElementTableModel.h"
#include "library/LibraryViewing.h"
#include "library/ViewMode.h"

#include <QHash>
#include <QWidget>

class CoverCache;
class EmptyStateView;
class ListController;
class ContentOwner;
class TileView;

/// One category's titles as tiles or as a list, whichever the view mode says. The four categories
/// differ in what Category tells and in nothing else.
class TileController : public QWidget,
                       public ViewModeHandling,
                       public DeletionHandling,
                       public DeletionProviding,
                       public LanguageHandling,
                       public LibraryViewing
{
    Q_OBJECT

public:
    struct Category
    {
        const char16_t *nameKey;
        ElementList &(*titles)();
        /// Null when no list can be made.
        ListController *(*makeList)(CoverCache &covers, QWidget *parent);
        bool traced = false; ///< the making of tiles is logged
    };

    /// Tiles or list; without a list the tiles stay.
    void switchView(ViewMode mode);
    /// The tile of a row, made when it is first asked for; a plain one for no row.
    [[nodiscard]] CollectionViewItem itemForRow(int row);

    [[nodiscard]] const ViewModeHandlingDelegate &viewModeDelegate() const override;
    void applyViewMode(ViewMode mode) override { switchView(mode); }
    [[nodiscard]] QStringList markedIds() const override;
    void markChoice() override;
    bool takeFocus() override;
    void willDelete(const QStringList &ids) override;
    void didDelete() override;
    [[nodiscard]] QTableView *listTable() override;
    void provideDeletion() override;
    void languageChanged() override;
    void libraryChanged() override;

    TileView *collectionView;
    ListController *tableViewController = nullptr; ///< from the first showing as a list on

protected:
    void showEvent(QShowEvent *event) override;

    TileController(ContentOwner &viewController, const Category &category, QWidget *parent);

private:
    /// In the current language.
    [[nodiscard]] QString name() const;
    void fill();
    [[nodiscard]] const ElementList &shownTitles() const;
    void setUpCollectionView();
    [[nodiscard]] bool setUpListView();
    void selectTitles(const QStringList &ids);
    void showForm();
    void showMarked();

    ContentOwner &m_viewController;
    const Category m_category;
    ElementTableModel m_model{ElementTableModel::Form::Grid};
    QHash<int, CollectionViewItem> m_items;
    EmptyStateView *m_empty;
    ViewMode m_mode = ViewMode::tiled;
    bool m_quiet = false;
};
