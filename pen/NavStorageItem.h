#pragma once

#include "pen/StorageService.h"

#include <QPointer>
#include <QWidget>

class ImageView;
class QLabel;
class QProgressBar;

/// The small gauge at the sidebar's foot that shows how full the pen is. Main thread only.
class NavStorageItem : public QWidget
{
    Q_OBJECT

public:
    explicit NavStorageItem(QWidget *parent = nullptr);

    /// The gauge made last, for whoever changes what is on the pen; null when it has gone.
    static QPointer<NavStorageItem> current;

    /// Figures and texts anew, in the current language.
    void updateValues();

    // Outlets.
    QWidget *view = nullptr;
    QLabel *storageLabel = nullptr;
    QLabel *detailedStorageLabel = nullptr;
    QProgressBar *progressBar = nullptr;
    ImageView *quilloImage = nullptr;

    StorageService storageService;

Q_SIGNALS:
    void valuesUpdated();

private:
    void loadOutlets();
    void setUpColors();
};
