#pragma once

#include "library/TileController.h"

// The four categories of titles.

class MyBooksController : public TileController
{
    Q_OBJECT

public:
    explicit MyBooksController(ContentOwner &viewController, QWidget *parent = nullptr);
};

class GamesController : public TileController
{
    Q_OBJECT

public:
    explicit GamesController(ContentOwner &viewController, QWidget *parent = nullptr);
};

class LearningMaterialController : public TileController
{
    Q_OBJECT

public:
    explicit LearningMaterialController(ContentOwner &viewController, QWidget *parent = nullptr);
};

class ArchiveViewController : public TileController
{
    Q_OBJECT

public:
    explicit ArchiveViewController(ContentOwner &viewController, QWidget *parent = nullptr);
};
