#include "base/ViewPlacement.h"

#include "platform/StandardOutput.h"

#include <QGridLayout>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

constexpr int titleBarHeight = 40; // about; nobody knows it before the window is shown

QString description(const QWidget &view)
{
    const QString kind = QString::fromLatin1(view.metaObject()->className());
    return view.objectName().isEmpty() ? kind : kind + u' ' + view.objectName();
}

/// A grid of one cell lets children lie above each other.
QGridLayout &edgeLayout(QWidget &container)
{
    if (auto *layout = qobject_cast<QGridLayout *>(container.layout()))
        return *layout;
    Q_ASSERT(container.layout() == nullptr);
    auto *layout = new QGridLayout(&container);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    return *layout;
}

} // namespace

void pinEdges(QWidget &child, QWidget &container, int constant)
{
    if (child.parentWidget() != &container) {
        print(u"WARN: Won't pin edges of %1 to %2 because it is not in its subviews."_s.arg(
            description(child), description(container)));
        return;
    }
    QGridLayout &layout = edgeLayout(container);
    if (constant == 0) {
        layout.addWidget(&child, 0, 0);
        return;
    }
    auto *inset = new QVBoxLayout;
    inset->setContentsMargins(constant, constant, constant, constant);
    inset->addWidget(&child);
    layout.addLayout(inset, 0, 0);
}

void showAlone(QWidget &child, QWidget &container)
{
    // The focus goes over before the view that had it is hidden, which would lose it.
    const bool focused = container.isAncestorOf(container.window()->focusWidget());
    child.show();
    container.setFocusProxy(&child);
    if (focused)
        container.setFocus();
    for (QWidget *view : container.findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (view != &child)
            view->hide();
    }
}

void centreOnScreen(QWidget &window)
{
    const QRect available = window.screen()->availableGeometry();
    window.resize(window.size().boundedTo(available.size() - QSize(0, titleBarHeight)));
    window.move(available.center() - window.rect().center());
}
