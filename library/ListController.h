#pragma once

#include "library/ElementTableModel.h"
#include "library/TableController.h"

class CoverCache;

/// One category's titles as a list.
class ListController : public TableController
{
    Q_OBJECT

public:
    explicit ListController(CoverCache &covers, QWidget *parent = nullptr);

    /// Replaces the titles; the chosen ones are marked, the keyboard's row and what is seen stay
    /// where they still are.
    void setElements(const ElementList &elements);
    [[nodiscard]] const ElementList &elements() const { return m_model.elements(); }

    [[nodiscard]] QStringList selectedIds() const;
    /// Selects the chosen titles and no others, without a call of the handler.
    void markChoice();
    /// Scrolls to the first selected title, if there is one.
    void showMarked();

    /// The rows of these titles go, the others slide up; the keyboard goes on from the neighbour.
    void removeElements(const QStringList &ids);

    void languageChanged() override;

private:
    void showCover(const QString &path);

    ElementTableModel m_model;
};

class MyQuillyBooksController : public ListController
{
    Q_OBJECT

public:
    using ListController::ListController;
};

class MyGamesController : public ListController
{
    Q_OBJECT

public:
    using ListController::ListController;
};

class MyLearningMaterialsController : public ListController
{
    Q_OBJECT

public:
    using ListController::ListController;
};

class MyArchivesController : public ListController
{
    Q_OBJECT

public:
    using ListController::ListController;
};
