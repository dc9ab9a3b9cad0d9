#include "ui/LegalWindowController.h"

#include "base/ContentPalette.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "platform/Workspace.h"

#include "ui_LegalWindowController.h"

#include <QEvent>
#include <QFile>
#include <QScreen>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal textMargin = 28;

} // namespace

LegalWindowController::LegalWindowController(const QString &entry, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , legalOrPrivacy(entry)
{
    Ui::LegalWindowController outlets;
    outlets.setupUi(this);
    textView = outlets.textView;
    setAttribute(Qt::WA_DeleteOnClose);
    for (const QKeySequence &key :
         {QKeySequence(Qt::Key_Escape), QKeySequence(QKeySequence::Close)})
        new QShortcut(key, this, this, &QWidget::close);
    connect(textView, &QTextBrowser::anchorClicked, this, &Workspace::open);
    windowDidLoad();
}

void LegalWindowController::windowDidLoad()
{
    setPalette(contentPalette());
    setBackgroundColor(*this, Qt::white);
    if (legalOrPrivacy == localized(u"dropdown_legal_information"_s)) {
        m_titleKey = u"dropdown_legal_information"_s;
        file = u":/legal/legal_information.md"_s;
    } else if (legalOrPrivacy == localized(u"dropdown_privacy"_s)) {
        m_titleKey = u"dropdown_privacy"_s;
        file = u":/legal/privacy.md"_s;
    }
    showText();
    updateTitle();
}

void LegalWindowController::showText()
{
    QFile text(file.value_or(QString()));
    if (file && text.open(QIODevice::ReadOnly))
        textView->setMarkdown(QString::fromUtf8(text.readAll()));
    textView->document()->setDocumentMargin(textMargin);
}

void LegalWindowController::showWindow()
{
    const QWidget &owner = *parentWidget()->window();
    resize(size().boundedTo(owner.screen()->availableSize()));
    move(owner.geometry().center() - rect().center());
    show();
    raise();
    activateWindow();
    textView->setFocus();
}

void LegalWindowController::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        updateTitle();
}

void LegalWindowController::updateTitle()
{
    setWindowTitle(localized(m_titleKey));
    textView->setAccessibleName(localized(m_titleKey));
}
