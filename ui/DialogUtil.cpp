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
    const auto make = [names = listText(titleNames(ids))] {
        return Alert{.windowTitle = localized(u"delete_element"_s),
                     .messageText = localized(u"confirm_delete"_s),
                     .informativeText = localized(u"please_confirm"_s).replace(u"%@"_s, names),
                     .buttons = {localized(u"ok"_s), localized(u"cancel"_s)}};
    };
    AlertBox::present(make, parent, std::move(completion));
}

void DialogUtil::tellDeletionFailed(const QStringList &names, QWidget &parent)
{
    const auto make = [names = listText(names)] {
        return Alert{.windowTitle = localized(u"delete_element"_s),
                     .messageText = localized(u"deletion_failed_title"_s),
                     .informativeText = localized(u"deletion_failed"_s).replace(u"%@"_s, names),
                     .buttons = {localized(u"ok"_s)}};
    };
    AlertBox::present(make, parent, {});
}
