#pragma once

#include <QStringList>

class QTableView;

/// Adopted by the content controllers whose titles can be deleted while they are shown.
class DeletionHandling
{
public:
    virtual ~DeletionHandling() = default;

    /// The titles that are marked as chosen.
    [[nodiscard]] virtual QStringList markedIds() const = 0;
    /// Marks those of the view's titles that are chosen, and no others.
    virtual void markChoice() = 0;
    /// The keyboard goes to the titles: to where it stood in them, after a deletion to the
    /// neighbour of what went. False when there is no title.
    virtual bool takeFocus() = 0;

    /// Before the files go: the rows of these titles leave the list.
    virtual void willDelete(const QStringList &ids) = 0;
    /// After the library has been read again.
    virtual void didDelete() = 0;
    /// Null while no list has been made.
    [[nodiscard]] virtual QTableView *listTable() = 0;
};

/// Adopted by the controllers in whose tiles titles are chosen for deletion.
class DeletionProviding
{
public:
    virtual ~DeletionProviding() = default;

    /// The titles at the selected tiles become the deletion selection.
    virtual void provideDeletion() = 0;
};

/// Where a choice of titles for deletion goes.
class DeletionSelecting
{
public:
    virtual ~DeletionSelecting() = default;

    virtual void setSelectedElementIds(const QStringList &ids) = 0;
    virtual void clearSelectedElementIds() = 0;
};
