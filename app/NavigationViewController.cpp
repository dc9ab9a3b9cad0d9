#include "app/NavigationViewController.h"

#include "app/NavAccessible.h"
#include "app/NavCollectionItem.h"
#include "app/NavCollectionView.h"
#include "app/NavRowModel.h"
#include "app/NavigationOwner.h"
#include "base/ApplicationLog.h"
#include "base/ColorConstants.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "base/ViewPlacement.h"

using namespace Qt::StringLiterals;

NavigationViewController::NavigationViewController(NavigationOwner &viewController, QWidget *parent)
    : QWidget(parent)
    , navCollectionView(new NavCollectionView(this))
    , m_viewController(viewController)
    , m_rows(new NavRowModel(this))
{
    installNavAccessible();
    pinEdges(*navCollectionView, *this);
    setFocusProxy(navCollectionView);
}

void NavigationViewController::setContentFactory(NavElementType type,
                                                 const std::function<QWidget *()> &make)
{
    m_factories.insert(type, make);
}

void NavigationViewController::viewDidLoad()
{
    m_viewController.loadData();
    setBackgroundColor(*this, ColorConstants::mainColor());
    setColor(*this, QPalette::Base, ColorConstants::mainColor());
    buildNavElements();
    navCollectionView->setItemDelegate(new NavRowDelegate(navCollectionView));
    navCollectionView->setModel(m_rows);
    navCollectionView->selectQuietly(m_rows->index(firstSelectedRow));
    connect(navCollectionView, &NavCollectionView::chosen, this,
            &NavigationViewController::didSelect);
}

void NavigationViewController::buildNavElements()
{
    m_rows->setRows(NavRowModel::buildRows());
    navCollectionView->setAccessibleName(localized(u"sidebar"_s));
}

const QList<NavElement> &NavigationViewController::navElementArray() const
{
    return m_rows->rows();
}

void NavigationViewController::didSelect(const QModelIndex &index)
{
    showContent(m_rows->rows().at(index.row()).type);
}

void NavigationViewController::showView(NavElementType type)
{
    if (isDivider(type))
        return;
    navCollectionView->selectQuietly(m_rows->indexOf(type));
    showContent(type);
}

void NavigationViewController::showBooksView()
{
    showView(NavElementType::Books);
}

void NavigationViewController::showContent(NavElementType type)
{
    const bool traced = type == NavElementType::Books;
    if (traced)
        writeLog(u"showBooksView Beginn"_s);
    if (const auto make = m_factories.value(type))
        loadView(make());
    if (!traced)
        return;
    writeLog(u"showBooksView nach loadView"_s);
    writeLog(u"showBooksView Ende"_s);
}

void NavigationViewController::loadView(QWidget *controller)
{
    writeLog(u"loadView Beginn"_s);
    QWidget &area = m_viewController.contentArea();
    // Also while another window has the keyboard.
    const bool focused = area.isAncestorOf(area.window()->focusWidget());
    removeActiveSubView(controller);
    controller->setParent(&area);
    pinEdges(*controller, area);
    controller->show();
    m_activeSubViewController = controller;
    if (focused)
        controller->setFocus();
    writeLog(u"loadView Ende"_s);
    Q_EMIT contentChanged();
}

void NavigationViewController::removeActiveSubView(const QWidget *successor)
{
    const QList<QWidget *> views =
        m_viewController.contentArea().findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (QWidget *view : views) {
        if (view == successor)
            continue;
        // What asks for its own removal is still at work.
        view->hide();
        view->setParent(this);
        view->deleteLater();
    }
}

void NavigationViewController::resetAfterUnmount()
{
    removeActiveSubView();
    m_activeSubViewController = nullptr;
    Q_EMIT contentChanged();
}

void NavigationViewController::reloadNavigation()
{
    const int row = navCollectionView->selected().row();
    buildNavElements();
    if (row >= 0)
        navCollectionView->selectQuietly(m_rows->index(row));
}

void NavigationViewController::setViewMode(ViewMode mode)
{
    if (auto *content = activeContent<ViewModeHandling>())
        content->applyViewMode(mode);
}

ViewMode NavigationViewController::viewMode() const
{
    return m_viewController.viewMode();
}

const ViewModeHandlingDelegate &NavigationViewController::viewModeDelegate() const
{
    return m_viewController;
}
