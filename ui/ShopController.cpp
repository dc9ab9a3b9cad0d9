#include "ui/ShopController.h"

#include "base/ContentPalette.h"
#include "base/ViewPlacement.h"
#include "pen/URLFactory.h"
#include "platform/WebView.h"

using namespace Qt::StringLiterals;

ShopController::ShopController(QWidget *parent)
    : QWidget(parent)
    , webView(new WebView(this))
{
    setPalette(contentPalette());
    pinEdges(*webView, *this);
    languageChanged();
    webView->setNavigation(WebNavigation::Web);
    webView->reload();
    webView->load(QUrl(URLFactory::getServerValue(URLFactory::shopKey).value_or(QString()),
                       QUrl::StrictMode));
}

void ShopController::languageChanged()
{
    webView->setAccessibleName(localized(u"shop"_s));
    webView->setTexts({.unavailable = localized(u"shop_unavailable"_s),
                       .openInBrowser = localized(u"open_in_browser"_s)});
}
