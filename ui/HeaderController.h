#pragma once

#include <QWidget>

class ImageView;
class QLabel;

/// The product's logo with the header's title beside it. Main thread only.
class HeaderController : public QWidget
{
    Q_OBJECT

public:
    explicit HeaderController(QWidget *parent = nullptr);

    // Outlets.
    ImageView *logoImageView = nullptr;
    QLabel *titleLabel = nullptr;
};
