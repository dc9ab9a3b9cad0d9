#pragma once

#include <QString>
#include <QUrl>

/// Where a page may lead.
enum class WebNavigation {
    PageOnly, ///< nowhere, not even by a redirect
    Web,      ///< to other http and https addresses, in the same view
};

/// A page to load: the text, or, when that is empty, what the address leads to.
struct WebRequest
{
    QString html;
    QUrl address; ///< also of what the text shows; opened in the browser where the view cannot
    WebNavigation navigation = WebNavigation::PageOnly;
};

/// Whether an address is one of the web, http or https with a host. No other is ever opened.
[[nodiscard]] inline bool isWebAddress(const QUrl &address)
{
    const QString scheme = address.scheme();
    return address.isValid() && !address.host().isEmpty()
           && (scheme == QLatin1StringView("http") || scheme == QLatin1StringView("https"));
}
