#include "base/AlertBox.h"

#include <QEvent>
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

/// A message box that follows the language. It goes when it is closed.
class AlertMessageBox : public QMessageBox
{
public:
    AlertMessageBox(const std::function<Alert()> &make, QWidget &parent);

    [[nodiscard]] bool isConfirmed() const { return clickedButton() == m_buttons.value(0); }

protected:
    void changeEvent(QEvent *event) override;

private:
    void addButtons(const QStringList &texts);
    void addLongText();
    void showTexts();

    std::function<Alert()> m_make;
    QList<QPushButton *> m_buttons;
    QPlainTextEdit *m_longText = nullptr;
};

AlertMessageBox::AlertMessageBox(const std::function<Alert()> &make, QWidget &parent)
    : QMessageBox(&parent)
    , m_make(make)
{
    const Alert alert = m_make();
    setAttribute(Qt::WA_DeleteOnClose);
    setIcon(Warning);
    if (alert.informativeText.size() > longText)
        addLongText();
    addButtons(alert.buttons);
    showTexts();
    // Titles are named as they are, whatever marks they hold.
    const QList<QLabel *> labels = findChildren<QLabel *>();
    for (QLabel *label : labels)
        label->setTextFormat(Qt::PlainText);
    // open() would block only the window beneath.
    setModal(true);
}

void AlertMessageBox::addButtons(const QStringList &texts)
{
    for (const QString &text : texts)
        m_buttons += addButton(text, m_buttons.isEmpty() ? AcceptRole : RejectRole);
    setDefaultButton(m_buttons.constLast());
    setEscapeButton(m_buttons.constLast());
}

/// A long text scrolls, which would push the buttons off the screen. Title by title, so that only
/// the lines that are seen are laid out.
void AlertMessageBox::addLongText()
{
    constexpr QSize size(460, 300);
    m_longText = new QPlainTextEdit(this);
    m_longText->setReadOnly(true);
    m_longText->setTabChangesFocus(true);
    m_longText->setFrameShape(QFrame::NoFrame);
    m_longText->viewport()->setAutoFillBackground(false);
    m_longText->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_longText->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    m_longText->setFixedSize(size);
    setInformativeText(u" "_s); // makes its place
    auto *label = findChild<QLabel *>(u"qt_msgbox_informativelabel"_s);
    delete layout()->replaceWidget(label, m_longText);
    label->hide();
}

void AlertMessageBox::showTexts()
{
    const Alert alert = m_make();
    setWindowTitle(alert.windowTitle);
    setText(alert.messageText);
    for (qsizetype i = 0; i < m_buttons.size(); ++i)
        m_buttons.at(i)->setText(alert.buttons.at(i));
    if (!m_longText) {
        setInformativeText(alert.informativeText);
        return;
    }
    QString text = alert.informativeText;
    text.replace(text.indexOf(u" \""), 1, u'\n').replace(u"\", \""_s, u"\",\n\""_s);
    m_longText->setPlainText(text);
    m_longText->setAccessibleName(alert.messageText);
}

void AlertMessageBox::changeEvent(QEvent *event)
{
    QMessageBox::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        showTexts();
}

} // namespace

void AlertBox::setPresenter(Presenter instead)
{
    presenter() = std::move(instead);
}

void AlertBox::present(const std::function<Alert()> &make, QWidget &parent, Answer completion)
{
    if (presenter()) {
        presenter()(make(), parent, std::move(completion));
        return;
    }
    auto *box = new AlertMessageBox(make, parent);
    QObject::connect(box, &QDialog::finished, &parent, [box, completion = std::move(completion)] {
        if (completion)
            completion(box->isConfirmed());
    });
    box->show();
}
