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
    connect(webView, &WebView::tryAgain, this, &ShopController::load);
    viewDidLoad();
}

void ShopController::viewDidLoad()
{
    setPalette(contentPalette());
    pinEdges(*webView, *this);
    languageChanged();
    webView->setNavigation(WebNavigation::Site);
    webView->reload();
    load();
}

/// The address is looked up anew: it may have been mended since.
void ShopController::load()
{
    webView->load(QUrl(URLFactory::getServerValue(URLFactory::shopKey).value_or(QString()),
                       QUrl::StrictMode));
}

void ShopController::languageChanged()
{
    webView->setAccessibleName(localized(u"shop"_s));
    webView->setTexts({.unavailable = localized(u"shop_unavailable"_s),
                       .tryAgain = localized(u"try_again"_s),
                       .openInBrowser = localized(u"open_in_browser"_s)});
}
