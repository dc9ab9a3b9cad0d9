#include "base/OverlayScrolling.h"

#include <QAbstractScrollArea>
#include <QProxyStyle>
#include <QScrollBar>

namespace {

class OverlayStyle : public QProxyStyle
{
public:
    explicit OverlayStyle(QObject &owner) { setParent(&owner); }

    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returnData) const override
    {
        return hint == SH_ScrollBar_Transient
                   ? 1
                   : QProxyStyle::styleHint(hint, option, widget, returnData);
    }
};

} // namespace

void setOverlayScrolling(QAbstractScrollArea &area)
{
    QScrollBar *bar = area.verticalScrollBar();
    bar->setStyle(new OverlayStyle(*bar));
}
