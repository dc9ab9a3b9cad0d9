#pragma once

#include "base/Localization.h"

#include <QWidget>

class WebView;

/// The shop's page. Main thread only.
class ShopController : public QWidget, public LanguageHandling
{
    Q_OBJECT

public:
    explicit ShopController(QWidget *parent = nullptr);

    void languageChanged() override;

    // Outlet.
    WebView *webView = nullptr;

private:
    void viewDidLoad();
    void load();
};
