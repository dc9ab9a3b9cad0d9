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

    /// Replaces the titles; what is selected and the scroll position stay where they still are.
    void setElements(const ElementList &elements);
    [[nodiscard]] const ElementList &elements() const { return m_model.elements(); }

    [[nodiscard]] QStringList selectedIds() const;
    /// Without a call of the handler.
    void selectIds(const QStringList &ids);

    /// The rows of these titles go, the others slide up.
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
