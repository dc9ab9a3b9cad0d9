#include "app/MainWindow.h"

#include "app/ViewController.h"
#include "base/ImageView.h"
#include "library/SearchViewController.h"
#include "sync/UpdateService.h"

#include <QIcon>
#include <QShortcut>

MainWindow::MainWindow(const Hardware &hardware)
    : m_viewController(new ViewController(hardware, this))
{
    setObjectName(QStringLiteral("MainWindow"));
    setWindowIcon(shippedIcon(QStringLiteral("quillo_quillo_small")));
    setCentralWidget(m_viewController);
    m_viewController->viewDidLoad();
    addKey(QKeySequence(Qt::CTRL | Qt::Key_Q), &MainWindow::quit);
    addKey(QKeySequence(Qt::Key_F5), &MainWindow::updateAll);
    addKey(QKeySequence(Qt::CTRL | Qt::Key_T), &MainWindow::toggleViewMode);
    addKey(QKeySequence(Qt::CTRL | Qt::Key_F), &MainWindow::search);
    addCategoryKeys();
}

MainWindow::~MainWindow()
{
    // Before the base class, whose other children the controller still uses.
    delete m_viewController;
}

void MainWindow::addKey(const QKeySequence &key, void (MainWindow::*action)())
{
    const auto *shortcut = new QShortcut(key, this);
    connect(shortcut, &QShortcut::activated, this, action);
}

void MainWindow::addCategoryKeys()
{
    int key = Qt::Key_1;
    for (const NavElementType type : navCategories) {
        const auto *shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key(key++)), this);
        connect(shortcut, &QShortcut::activated, this,
                [this, type] { m_viewController->showView(type); });
    }
}

void MainWindow::toggleViewMode()
{
    if (m_viewController->isQuilloAvailable())
        m_viewController->toggleViewMode();
}

void MainWindow::search()
{
    m_viewController->searchViewController->takeFocus();
}

void MainWindow::quit()
{
    close();
}

void MainWindow::updateAll()
{
    m_viewController->updateService->updateAll();
}
