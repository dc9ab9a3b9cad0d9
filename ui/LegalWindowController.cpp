#include "ui/LegalWindowController.h"

#include "ui_LegalWindowController.h"

LegalWindowController::LegalWindowController(const QString &entry, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , legalOrPrivacy(entry)
{
    Ui::LegalWindowController outlets;
    outlets.setupUi(this);
    textView = outlets.textView;
    setAttribute(Qt::WA_DeleteOnClose);
}

void LegalWindowController::showWindow()
{
    show();
}
