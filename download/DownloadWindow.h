#pragma once

#include "download/DownloadTableModel.h"

#include <QDialog>

class CoverCache;
class DownloadWindowController;
class ImageView;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableView;
class SoundPlayer;

/// Shows what its controller works out about a download run, and takes the person's clicks to it.
class DownloadWindow : public QDialog
{
    Q_OBJECT

public:
    DownloadWindow(DownloadWindowController &controller, CoverCache &covers, SoundPlayer &sounds,
                   QWidget *parent = nullptr);

    /// Texts anew in the current language.
    void updateTexts();

    /// What closing by the title bar or Escape does: OK or cancel, whichever is enabled; nothing
    /// while neither is.
    void reject() override;

    QProgressBar *progressBar = nullptr;
    QPushButton *cancelBtn = nullptr;
    QPushButton *OKBtn = nullptr;
    ImageView *progressImage = nullptr;
    QLabel *downlloadLabel = nullptr;
    QLabel *stepLabel = nullptr;
    QTableView *tableView = nullptr;

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void loadOutlets();
    void setUpColors();
    void setUpTable();
    void addDropKey(Qt::Key key);
    void connectController();

    void showCentred();
    void showPresentation();
    void fitStatusColumn();
    void dropCurrentRow();
    void runCompleted();

    DownloadWindowController &m_controller;
    SoundPlayer &m_sounds;
    DownloadTableModel m_model;
};
