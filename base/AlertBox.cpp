#include "base/AlertBox.h"

#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int longText = 1000; ///< letters; about ten lines

AlertBox::Presenter &presenter()
{
    static AlertBox::Presenter instance;
    return instance;
}

/// A long text scrolls, which would push the buttons off the screen. Title by title, so that only
/// the lines that are seen are laid out.
void showLongText(QMessageBox &box, const QString &text)
{
    constexpr QSize size(460, 300);
    auto *view = new QPlainTextEdit(&box);
    view->setReadOnly(true);
    view->setTabChangesFocus(true);
    view->setFrameShape(QFrame::NoFrame);
    view->viewport()->setAutoFillBackground(false);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->setFixedSize(size);
    view->setPlainText(
        QString(text).replace(text.indexOf(u" \""), 1, u'\n').replace(u"\", \""_s, u"\",\n\""_s));
    view->setAccessibleName(box.text());
    box.setInformativeText(u" "_s); // makes its place
    auto *label = box.findChild<QLabel *>(u"qt_msgbox_informativelabel"_s);
    delete box.layout()->replaceWidget(label, view);
    label->hide();
}

void presentBox(const Alert &alert, QWidget &parent, AlertBox::Answer completion)
{
    auto *box = new QMessageBox(QMessageBox::Warning, alert.windowTitle, alert.messageText,
                                QMessageBox::NoButton, &parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    if (alert.informativeText.size() > longText)
        showLongText(*box, alert.informativeText);
    else
        box->setInformativeText(alert.informativeText);
    // Titles are named as they are, whatever marks they hold.
    const QList<QLabel *> labels = box->findChildren<QLabel *>();
    for (QLabel *label : labels)
        label->setTextFormat(Qt::PlainText);
    QPushButton *first = nullptr;
    QPushButton *last = nullptr;
    for (const QString &text : alert.buttons) {
        last = box->addButton(text, first ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
        if (!first)
            first = last;
    }
    box->setDefaultButton(last);
    box->setEscapeButton(last);
    QObject::connect(box, &QDialog::finished, &parent,
                     [box, first, completion = std::move(completion)] {
                         if (completion)
                             completion(box->clickedButton() == first);
                     });
    // open() would block only the window beneath.
    box->setModal(true);
    box->show();
}

} // namespace

void AlertBox::setPresenter(Presenter instead)
{
    presenter() = std::move(instead);
}

void AlertBox::present(const Alert &alert, QWidget &parent, Answer completion)
{
    if (presenter())
        presenter()(alert, parent, std::move(completion));
    else
        presentBox(alert, parent, std::move(completion));
}
