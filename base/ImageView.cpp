#include "base/ImageView.h"

#include "platform/Bundle.h"

#include <QIcon>
#include <QPainter>

ImageView::ImageView(QWidget *parent)
    : QWidget(parent)
{
}

void ImageView::setImageName(const QString &name)
{
    if (name == m_imageName)
        return;
    m_imageName = name;
    m_renderer.load(Bundle::imagePath(name).value_or(QString()));
    m_renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    updateGeometry();
    update();
}

QSize ImageView::sizeHint() const
{
    return m_renderer.isValid() ? m_renderer.defaultSize() : QWidget::sizeHint();
}

void ImageView::paintEvent(QPaintEvent *)
{
    if (!m_renderer.isValid())
        return;
    QPainter painter(this);
    m_renderer.render(&painter, rect());
}

QIcon shippedIcon(const QString &name)
{
    const std::optional<QString> path = Bundle::imagePath(name);
    return path ? QIcon(*path) : QIcon();
}
