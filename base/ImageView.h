#pragma once

#include <QSvgRenderer>
#include <QWidget>

/// Shows a shipped picture by name, as large as the view allows and sharp on every screen.
class ImageView : public QWidget
{
    Q_OBJECT

public:
    explicit ImageView(QWidget *parent = nullptr);

    /// A name without picture shows nothing.
    void setImageName(const QString &name);
    [[nodiscard]] const QString &imageName() const { return m_imageName; }

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_imageName;
    QSvgRenderer m_renderer;
};

/// The icon of a shipped picture; null when there is none of that name.
[[nodiscard]] QIcon shippedIcon(const QString &name);
