#include "download/DownloadWindow.h"

#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "base/ViewPlacement.h"
#include "download/DownloadWindowController.h"
#include "library/DownloadType.h"
#include "platform/SoundPlayer.h"

#include "ui_DownloadWindowController.h"

#include <QApplication>
#include <QCloseEvent>
#include <QPainter>
#include <QShortcut>
#include <QStyledItemDelegate>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int barStepsPerPercent = 10;
constexpr int imageColumnWidth = 44;
constexpr int cellMargin = 24;
constexpr int discDiameter = 22;

/// Covers and crosses stand in the middle of their cells in their own colours, crosses on a disc
/// that sets them off from tinted and selected rows.
class PictureDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        const QVariant picture = index.data(Qt::DecorationRole);
        if (picture.typeId() == QMetaType::QPixmap)
            option.widget->style()->drawItemPixmap(painter, option.rect, Qt::AlignCenter,
                                                   picture.value<QPixmap>());
        else if (picture.typeId() == QMetaType::QIcon)
            paintButton(*painter, option.rect, picture.value<QIcon>());
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->features &=
            ~(QStyleOptionViewItem::HasDecoration | QStyleOptionViewItem::HasDisplay);
    }

private:
    static void paintButton(QPainter &painter, const QRect &cell, const QIcon &icon)
    {
        QRect disc(0, 0, discDiameter, discDiameter);
        disc.moveCenter(cell.center());
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(disc);
        painter.restore();
        icon.paint(&painter, disc);
    }
};

int widestStatusText(const QFontMetrics &metrics)
{
    int width = 0;
    for (const DownloadType type :
         {DownloadType::Ready, DownloadType::UpToDate, DownloadType::Canceled,
          DownloadType::Downloading, DownloadType::Copying, DownloadType::Waiting,
          DownloadType::Failed})
        width = std::max(width, metrics.horizontalAdvance(localized(statusTextKey(type))));
    return std::max(width, metrics.horizontalAdvance(localized(u"label_status"_s)));
}

} // namespace

DownloadWindow::DownloadWindow(DownloadWindowController &controller, CoverCache &covers,
                               SoundPlayer &sounds, QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
                          | Qt::WindowCloseButtonHint)
    , m_controller(controller)
    , m_sounds(sounds)
    , m_model(covers)
{
    loadOutlets();
    setUpColors();
    setUpTable();
    connectController();
    updateTexts();
    showPresentation();
}

void DownloadWindow::loadOutlets()
{
    Ui::DownloadWindowController outlets;
    outlets.setupUi(this);
    progressBar = outlets.progressBar;
    cancelBtn = outlets.cancelBtn;
    OKBtn = outlets.OKBtn;
    progressImage = outlets.progressImage;
    downlloadLabel = outlets.downlloadLabel;
    stepLabel = outlets.stepLabel;
    tableView = outlets.tableView;
}

void DownloadWindow::setUpColors()
{
    setPalette(contentPalette());
    setColor(*downlloadLabel, QPalette::WindowText, ColorConstants::mainColor());
    setColor(*stepLabel, QPalette::WindowText, ColorConstants::mainColor());
    setColor(*progressBar, QPalette::Highlight, ColorConstants::mainColor());
}

void DownloadWindow::setUpTable()
{
    tableView->setModel(&m_model);
    tableView->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    tableView->verticalHeader()->setDefaultSectionSize(DownloadTableModel::rowHeight);
    QHeaderView *header = tableView->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setSectionResizeMode(DownloadTableModel::titleColumn, QHeaderView::Stretch);
    for (const int column : {DownloadTableModel::coverColumn, DownloadTableModel::cancelColumn}) {
        tableView->setColumnWidth(column, imageColumnWidth);
        tableView->setItemDelegateForColumn(column, new PictureDelegate(tableView));
    }
    connect(tableView, &QTableView::clicked, this, [this](const QModelIndex &cell) {
        m_controller.onItemClicked(cell.row(), cell.column());
    });
    addDropKey(Qt::Key_Delete);
    addDropKey(Qt::Key_Space);
}

void DownloadWindow::addDropKey(Qt::Key key)
{
    new QShortcut(key, tableView, this, &DownloadWindow::dropCurrentRow, Qt::WidgetShortcut);
}

void DownloadWindow::connectController()
{
    connect(cancelBtn, &QPushButton::clicked, &m_controller,
            &DownloadWindowController::cancelBtnKlicked);
    connect(OKBtn, &QPushButton::clicked, &m_controller, &DownloadWindowController::okBtnKlicked);
    connect(&m_controller, &DownloadWindowController::presentationChanged, this,
            &DownloadWindow::showPresentation);
    connect(&m_controller, &DownloadWindowController::queueChanged, &m_model,
            &DownloadTableModel::queueChanged);
    connect(&m_controller, &DownloadWindowController::showRequested, this,
            &DownloadWindow::showCentred);
    connect(&m_controller, &DownloadWindowController::closeRequested, this, &QWidget::hide);
    connect(&m_controller, &DownloadWindowController::completed, this,
            &DownloadWindow::runCompleted);
}

void DownloadWindow::updateTexts()
{
    setWindowTitle(localized(u"window_title"_s));
    cancelBtn->setText(localized(u"cancel"_s));
    OKBtn->setText(localized(u"ok"_s));
    progressBar->setAccessibleName(localized(u"label_downloading"_s));
    tableView->setAccessibleName(localized(u"download_queue"_s));
    fitStatusColumn();
    m_model.updateTexts();
    m_controller.updateTexts();
}

void DownloadWindow::fitStatusColumn()
{
    const int width = widestStatusText(tableView->fontMetrics());
    tableView->setColumnWidth(DownloadTableModel::statusColumn, width + cellMargin);
}

void DownloadWindow::showPresentation()
{
    const DownloadPresentation &shown = m_controller.presentation();
    downlloadLabel->setText(shown.headline);
    stepLabel->setText(shown.step);
    progressBar->setValue(static_cast<int>(shown.bar * barStepsPerPercent));
    progressBar->setAccessibleDescription(shown.step);
    progressImage->setImageName(shown.image);
    OKBtn->setEnabled(shown.okEnabled);
    cancelBtn->setEnabled(shown.cancelEnabled);
}

void DownloadWindow::showCentred()
{
    updateTexts();
    if (!isVisible())
        centreOnScreen(*this);
    show();
    raise();
    activateWindow();
}

void DownloadWindow::dropCurrentRow()
{
    m_controller.onItemClicked(tableView->currentIndex().row(), DownloadTableModel::cancelColumn);
}

void DownloadWindow::runCompleted()
{
    m_sounds.play(u"Done"_s);
    QApplication::alert(this);
}

void DownloadWindow::reject()
{
    if (OKBtn->isEnabled())
        m_controller.okBtnKlicked();
    else if (cancelBtn->isEnabled())
        m_controller.cancelBtnKlicked();
}

void DownloadWindow::closeEvent(QCloseEvent *event)
{
    // Closing by the program itself, as at its end, asks nobody.
    if (!event->spontaneous()) {
        event->accept();
        return;
    }
    event->ignore();
    reject();
}

void DownloadWindow::showEvent(QShowEvent *event)
{
    m_model.setDevicePixelRatio(devicePixelRatioF());
    QDialog::showEvent(event);
}
