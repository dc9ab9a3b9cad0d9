#include "ui/DialogUtil.h"

#include "library/LibraryLists.h"
#include "ui/Localization.h"

#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

DialogUtil::Presenter &presenter()
{
    static DialogUtil::Presenter instance;
    return instance;
}

/// A list of many titles scrolls where it would push the buttons off the screen.
void boundHeight(QMessageBox &box)
{
    constexpr QSize largest(460, 300);
    auto *label = box.findChild<QLabel *>(u"qt_msgbox_informativelabel"_s);
    if (!label || label->heightForWidth(largest.width()) <= largest.height())
        return;
    auto *scrollView = new QScrollArea(&box);
    scrollView->setFrameShape(QFrame::NoFrame);
    scrollView->setWidgetResizable(true);
    scrollView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    scrollView->setMinimumSize(largest);
    delete box.layout()->replaceWidget(label, scrollView);
    const QMargins margins = scrollView->contentsMargins();
    const int barWidth = scrollView->verticalScrollBar()->sizeHint().width();
    label->setFixedWidth(largest.width() - barWidth - margins.left() - margins.right());
    label->setAlignment(Qt::AlignTop | Qt::AlignLeading);
    scrollView->setWidget(label);
}

void presentBox(const Alert &alert, QWidget &parent, DialogUtil::Answer completion)
{
    auto *box = new QMessageBox(QMessageBox::Warning, alert.windowTitle, alert.messageText,
                                QMessageBox::NoButton, &parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
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
    boundHeight(*box);
    // open() would block only the window beneath.
    box->setModal(true);
    box->show();
}

void present(const Alert &alert, QWidget &parent, DialogUtil::Answer completion)
{
    if (presenter())
        presenter()(alert, parent, std::move(completion));
    else
        presentBox(alert, parent, std::move(completion));
}

QString listText(const QStringList &names)
{
    QStringList quoted;
    for (const QString &name : names)
        quoted += u'"' + name + u'"';
    return quoted.join(u", "_s);
}

} // namespace

void DialogUtil::setPresenter(Presenter instead)
{
    presenter() = std::move(instead);
}

QStringList DialogUtil::titleNames(const QStringList &ids)
{
    const QSet<QString> wanted(ids.begin(), ids.end());
    QStringList names;
    for (const ElementPtr &title : allElements()) {
        if (wanted.contains(title->id))
            names += title->name;
    }
    return names;
}

void DialogUtil::confirmDeletion(const QStringList &ids, QWidget &parent, Answer completion)
{
    Alert alert;
    alert.windowTitle = localized(u"delete_element"_s);
    alert.messageText = localized(u"confirm_delete"_s);
    alert.informativeText =
        localized(u"please_confirm"_s).replace(u"%@"_s, listText(titleNames(ids)));
    alert.buttons = {localized(u"ok"_s), localized(u"cancel"_s)};
    present(alert, parent, std::move(completion));
}

void DialogUtil::tellDeletionFailed(const QStringList &names, QWidget &parent)
{
    Alert alert;
    alert.windowTitle = localized(u"delete_element"_s);
    alert.messageText = localized(u"deletion_failed_title"_s);
    alert.informativeText = localized(u"deletion_failed"_s).replace(u"%@"_s, listText(names));
    alert.buttons = {localized(u"ok"_s)};
    present(alert, parent, {});
}
