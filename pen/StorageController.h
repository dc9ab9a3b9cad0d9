#pragma once

#include "base/Localization.h"
#include "pen/PenAvailability.h"
#include "pen/StorageService.h"

#include <QWidget>

class ImageView;
class QLabel;
class QProgressBar;

/// The storage page: how full the pen is, the versions of its software and of the program, and the
/// pen's manual. Main thread only.
class StorageController : public QWidget, public LanguageHandling
{
    Q_OBJECT

public:
    /// The main window's controller must outlive this one.
    explicit StorageController(const PenAvailability &viewController, QWidget *parent = nullptr);

    void updateTexts();
    /// The figures anew.
    void showStorage();
    void showVersions();

    void languageChanged() override { updateTexts(); }

    // Outlets.
    QProgressBar *storageProgressBar = nullptr;
    QLabel *storageLabel = nullptr;
    QLabel *storagePercentLabel = nullptr;
    QLabel *storageTitleLabel = nullptr;
    QLabel *instructionsTitleLabel = nullptr;
    QLabel *firmwareVersionLabel = nullptr;
    QLabel *applicationVersionLabel = nullptr;
    QLabel *imageVersionLabel = nullptr;
    ImageView *manualImage = nullptr;
    ImageView *manualBacksideImage = nullptr;

    const PenAvailability &viewController;
    StorageService storageService;

    const QString manualImageDefault;
    const QString manualImageEnglish;
    const QString manualBacksideImageDefault;
    const QString manualBacksideImageEnglish;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void loadOutlets();
    void setUpColors();
    void gaugeUpdated();

    QWidget *m_scrollView = nullptr;
    bool m_outdated = false; ///< the gauge has changed while the page was not seen
};
