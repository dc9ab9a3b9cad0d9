#include "ui/DialogUtil.h"

#include "base/AlertBox.h"
#include "base/Localization.h"
#include "library/LibraryLists.h"

#include <QSet>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString listText(const QStringList &names)
{
    return names.isEmpty() ? QString() : u'"' + names.join(u"\", \""_s) + u'"';
}

/// In the library's order.
QStringList titleNames(const QStringList &ids)
{
    const QSet<QString> wanted(ids.begin(), ids.end());
    QStringList names;
    for (const ElementPtr &title : allElements()) {
        if (wanted.contains(title->id))
            names += title->name;
    }
    return names;
}

} // namespace

void DialogUtil::confirmDeletion(const QStringList &ids, QWidget &parent, Answer completion)
{
    Alert alert;
    alert.windowTitle = localized(u"delete_element"_s);
    alert.messageText = localized(u"confirm_delete"_s);
    alert.informativeText =
        localized(u"please_confirm"_s).replace(u"%@"_s, listText(titleNames(ids)));
    alert.buttons = {localized(u"ok"_s), localized(u"cancel"_s)};
    AlertBox::present(alert, parent, std::move(completion));
}

void DialogUtil::tellDeletionFailed(const QStringList &names, QWidget &parent)
{
    Alert alert;
    alert.windowTitle = localized(u"delete_element"_s);
    alert.messageText = localized(u"deletion_failed_title"_s);
    alert.informativeText = localized(u"deletion_failed"_s).replace(u"%@"_s, listText(names));
    alert.buttons = {localized(u"ok"_s)};
    AlertBox::present(alert, parent, {});
}
