#include "app/NavAccessible.h"

#include "app/NavCollectionView.h"
#include "app/NavRowModel.h"

#include <QAccessibleWidget>
#include <QHash>

namespace {

/// One category.
class NavRowAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    NavRowAccessible(NavCollectionView &view, int row)
        : m_view(view)
        , m_row(row)
    {
    }

    [[nodiscard]] bool isValid() const override { return index().isValid(); }
    [[nodiscard]] QObject *object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(&m_view);
    }
    [[nodiscard]] QAccessibleInterface *child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? index().data().toString() : QString();
    }
    void setText(QAccessible::Text, const QString &) override {}
    [[nodiscard]] QRect rect() const override
    {
        const QRect rect = m_view.visualRect(index());
        return {m_view.viewport()->mapToGlobal(rect.topLeft()), rect.size()};
    }
    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        state.selectable = true;
        state.focusable = true;
        state.selected = m_view.selected() == index();
        state.focused = m_view.hasFocus() && m_view.currentIndex() == index();
        const bool seen = m_view.viewport()->rect().intersects(m_view.visualRect(index()));
        state.offscreen = !seen;
        state.invisible = !m_view.isVisible();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (name == pressAction())
            m_view.choose(index());
    }
    [[nodiscard]] QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    [[nodiscard]] QModelIndex index() const { return m_view.model()->index(m_row, 0); }

    NavCollectionView &m_view;
    const int m_row;
};

/// The list.
class NavListAccessible : public QAccessibleWidget
{
public:
    explicit NavListAccessible(NavCollectionView &view)
        : QAccessibleWidget(&view, QAccessible::List)
        , m_view(view)
    {
    }
    ~NavListAccessible() override
    {
        for (const QAccessible::Id id : std::as_const(m_items))
            QAccessible::deleteAccessibleInterface(id);
    }
    NavListAccessible(const NavListAccessible &) = delete;
    NavListAccessible &operator=(const NavListAccessible &) = delete;

    [[nodiscard]] int childCount() const override { return static_cast<int>(rows().size()); }
    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        const int row = rows().value(index, -1);
        if (row < 0)
            return nullptr;
        auto item = m_items.constFind(row);
        if (item == m_items.constEnd())
            item = m_items.insert(
                row, QAccessible::registerAccessibleInterface(new NavRowAccessible(m_view, row)));
        return QAccessible::accessibleInterface(*item);
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *item) const override
    {
        return static_cast<int>(rows().indexOf(
            m_items.key(QAccessible::uniqueId(const_cast<QAccessibleInterface *>(item)), -1)));
    }
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override
    {
        return itemOf(m_view.indexAt(m_view.viewport()->mapFromGlobal(QPoint(x, y))));
    }
    [[nodiscard]] QAccessibleInterface *focusChild() const override
    {
        return m_view.hasFocus() ? itemOf(m_view.currentIndex()) : nullptr;
    }

private:
    [[nodiscard]] QList<int> rows() const { return NavRowModel::categoryRows(m_view.model()); }
    [[nodiscard]] QAccessibleInterface *itemOf(const QModelIndex &index) const
    {
        return child(static_cast<int>(rows().indexOf(index.row())));
    }

    NavCollectionView &m_view;
    mutable QHash<int, QAccessible::Id> m_items; ///< by row
};

QAccessibleInterface *makeNavAccessible(const QString &, QObject *object)
{
    auto *view = qobject_cast<NavCollectionView *>(object);
    return view ? new NavListAccessible(*view) : nullptr;
}

} // namespace

void installNavAccessible()
{
    QAccessible::installFactory(makeNavAccessible);
}
