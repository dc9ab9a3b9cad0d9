#pragma once

#include <QWidget>

class LanguageHandling;
class QToolButton;

/// The two flags that switch the language. Main thread only.
class LanguageViewController : public QWidget
{
    Q_OBJECT

public:
    explicit LanguageViewController(QWidget *parent = nullptr);

    void germanButtonAction();
    void englishButtonAction();

    /// The main window's controller, which has everything follow; set when it takes this one in.
    LanguageHandling *viewController = nullptr;

    // Outlets.
    QToolButton *germanButton = nullptr;
    QToolButton *englishButton = nullptr;

private:
    void switchTo(const QString &language);
    void showFlags();
    void updateTexts();
};
