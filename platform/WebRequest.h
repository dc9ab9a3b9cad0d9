#pragma once

#include <QString>
#include <QUrl>

#include <chrono>

/// Where a page may lead.
enum class WebNavigation {
    PageOnly, ///< nowhere, not even by a redirect
    /// Within the site of its address, by http and https. Out of it a person's click leads, into
    /// the browser; a site is its host, with or without "www.", and the hosts below it.
    Site,
};

/// A page to load: the text, or, when that is empty, what the address leads to.
struct WebRequest
{
    QString html;
    QUrl address; ///< also of what the text shows; opened in the browser where the view cannot
    WebNavigation navigation = WebNavigation::PageOnly;
    /// How long its server may be silent before it has come.
    std::chrono::milliseconds patience = std::chrono::minutes(1);
};

/// Whether an address is one of the web, http or https with a host. No other is ever opened.
[[nodiscard]] inline bool isWebAddress(const QUrl &address)
{
    const QString scheme = address.scheme();
    return address.isValid() && !address.host().isEmpty()
           && (scheme == QLatin1StringView("http") || scheme == QLatin1StringView("https"));
}
