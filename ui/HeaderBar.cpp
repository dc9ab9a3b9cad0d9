#include "ui/HeaderBar.h"

#include "base/ImageView.h"
#include "ui/HeaderController.h"

#include <QEvent>
#include <QLabel>
#include <QLayout>

void HeaderBar::setParts(const HeaderController &header, QWidget &flags)
{
    m_header = &header;
    m_flags = &flags;
    giveWay();
}

bool HeaderBar::event(QEvent *event)
{
    // A part wants another width, as in another language.
    if (event->type() == QEvent::LayoutRequest)
        giveWay();
    return QWidget::event(event);
}

void HeaderBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    giveWay();
}

void HeaderBar::giveWay()
{
    if (m_header == nullptr)
        return;
    QLabel &title = *m_header->titleLabel;
    const int forFlags = m_flags->sizeHint().width() + layout()->spacing();
    const int forTitle = title.sizeHint().width() + m_header->layout()->spacing();
    const int room = roomForOthers();
    title.setVisible(forFlags + forTitle <= room);
    m_flags->setVisible(forFlags <= room);
    // Now, not in later turns: else the search would be squeezed for a moment.
    m_header->layout()->activate();
    m_header->parentWidget()->layout()->activate();
}

/// What is left beside all that stays, with the search as wide as it likes.
int HeaderBar::roomForOthers() const
{
    const QWidget *headerView = m_header->parentWidget();
    const QMargins margins = layout()->contentsMargins();
    int room = width() - margins.left() - margins.right() - m_header->logoImageView->minimumWidth();
    for (const QWidget *part : findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (part != headerView && part != m_flags)
            room -= part->sizeHint().width() + layout()->spacing();
    }
    return room;
}
