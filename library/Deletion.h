#pragma once

#include <QStringList>

class QTableView;

/// Adopted by the content controllers whose titles can be deleted while they are shown.
class DeletionHandling
{
public:
    virtual ~DeletionHandling() = default;

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
