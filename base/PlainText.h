#pragma once

#include <QString>
#include <QTextDocument>

/// A text for those who take what looks like marks for marks, as tooltips do: it shows as it is.
[[nodiscard]] inline QString shownAsItIs(const QString &text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}
