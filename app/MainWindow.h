#pragma once

#include <QMainWindow>

class ViewController;
struct Hardware;

/// The main window: its controller's view and the keys that work everywhere in it.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(const Hardware &hardware);
    ~MainWindow() override;

    [[nodiscard]] ViewController &viewController() const { return *m_viewController; }

private:
    void addKey(const QKeySequence &key, void (MainWindow::*action)());
    void addCategoryKeys();
    void toggleViewMode();
    void search();
    void quit();
    void updateAll();

    ViewController *m_viewController;
};
