#pragma once

#include "app/NavElement.h"
#include "library/ViewMode.h"

#include <QHash>
#include <QList>
#include <QPointer>
#include <QWidget>

#include <functional>

class NavigationOwner;
class NavCollectionView;
class NavRowModel;

/// The sidebar, and what it puts into the content area. Main thread only.
class NavigationViewController : public QWidget,
                                 public ViewModeHandling,
                                 public ViewModeHandlingDelegate
{
    Q_OBJECT

public:
    static constexpr int firstSelectedRow = 3; ///< the books

    explicit NavigationViewController(NavigationOwner &viewController, QWidget *parent = nullptr);

    /// How the content of a category is made, anew for every showing. A category without shows
    /// nothing.
    void setContentFactory(NavElementType type, const std::function<QWidget *()> &make);

    /// Once, when the view stands in its container.
    void viewDidLoad();

    /// Makes the category's content, shows it and marks its row. A divider does nothing.
    void showView(NavElementType type);
    void showBooksView();
    /// Shows content that belongs to no row; takes it over.
    void loadView(QWidget *controller);
    /// All that stands in the content area goes, but for what is about to be shown.
    void removeActiveSubView(const QWidget *successor = nullptr);
    void resetAfterUnmount();

    /// The rows in the current language, with the same row selected.
    void reloadNavigation();

    /// Passes the mode to the content shown, if that knows modes.
    void setViewMode(ViewMode mode);
    [[nodiscard]] ViewMode viewMode() const override;
    [[nodiscard]] const ViewModeHandlingDelegate &viewModeDelegate() const override;
    void applyViewMode(ViewMode mode) override { setViewMode(mode); }

    [[nodiscard]] const QList<NavElement> &navElementArray() const;
    [[nodiscard]] QWidget *activeSubViewController() const { return m_activeSubViewController; }
    /// The content shown as what it adopts; null when there is none or it does not.
    template <class Protocol>
    [[nodiscard]] Protocol *activeContent() const
    {
        return dynamic_cast<Protocol *>(m_activeSubViewController.data());
    }

    NavCollectionView *navCollectionView = nullptr;

Q_SIGNALS:
    /// Another view stands in the content area, or none any more.
    void contentChanged();

private:
    void buildNavElements();
    void didSelect(const QModelIndex &index);
    void showContent(NavElementType type);

    NavigationOwner &m_viewController;
    NavRowModel *m_rows;
    QHash<NavElementType, std::function<QWidget *()>> m_factories;
    QPointer<QWidget> m_activeSubViewController;
};
