#pragma once

#include "tests/app/AppFixture.h"
#include "tests/support/Printers.h"

#include "base/AlertBox.h"
#include "ui/DeleteViewController.h"

#include <QToolButton>

#include <utility>

inline QStringList listedIds()
{
    QStringList ids;
    for (const ElementPtr &title : allElements())
        ids += title->id;
    return ids;
}

/// Keeps the alerts in place of showing them, to be answered by the test.
class Alerts
{
public:
    Alerts()
    {
        AlertBox::setPresenter([this](const Alert &alert, QWidget &, AlertBox::Answer completion) {
            shown += alert;
            m_completion = std::move(completion);
        });
    }
    ~Alerts() { AlertBox::setPresenter({}); }
    Alerts(const Alerts &) = delete;
    Alerts &operator=(const Alerts &) = delete;

    void answer(bool confirmed) { std::exchange(m_completion, {})(confirmed); }

    QList<Alert> shown;

private:
    AlertBox::Answer m_completion;
};

/// A pen with a book, two games and an archive title, in a running main window.
class Deletion : public WindowTest
{
protected:
    Deletion()
    {
        writeTitles();
        start();
        EXPECT_EQ(listedIds(), (QStringList{drache, affe, zebra, pirat}));
        controller().showView(NavElementType::MyTitles); // where all of them are seen
    }

    void writeTitles() const
    {
        writeTitle(pen, zebra, "Zebra", "Spiel");
        writeTitle(pen, pirat, "Pirat", "Archiv");
        writeTitle(pen, drache, "Drache", "Buch");
        writeTitle(pen, affe, "Affe", "Spiel");
    }
    DeleteViewController &deletion() { return *controller().deleteViewController; }
    QToolButton &button() { return *deletion().deleteButton; }
    void choose(const QStringList &ids) { deletion().setSelectedElementIds(ids); }
    void press(const QStringList &ids)
    {
        choose(ids);
        QTest::mouseClick(&button(), Qt::LeftButton);
    }

    [[nodiscard]] QStringList penFiles() const { return pen.names(QStringLiteral("book")); }

    const QString zebra = QStringLiteral("00001_de");
    const QString pirat = QStringLiteral("00002_de");
    const QString drache = QStringLiteral("00003_de");
    const QString affe = QStringLiteral("00004_de");
};
