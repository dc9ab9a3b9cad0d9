#include "tests/support/Printers.h"

#include "app/MainWindow.h"
#include "app/ViewController.h"
#include "base/Localization.h"
#include "demo/DemoSetup.h"
#include "demo/PictureTour.h"
#include "platform/CentralManager.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/VolumeSource.h"
#include "sync/UpdateService.h"
#include "ui/LanguageViewController.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFile>
#include <QHeaderView>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSet>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// Key to text.
QVariantMap table(const QString &language)
{
    QFile file(u":/%1.lproj/Localizable.json"_s.arg(language));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object().toVariantMap();
}

/// The longest piece between what is filled in, without blanks around it.
QString fixedPart(const QString &text)
{
    QString longest;
    for (const QString &piece : text.split(QRegularExpression(u"%[@0-9]"_s))) {
        if (piece.trimmed().size() > longest.size())
            longest = piece.trimmed();
    }
    return longest;
}

QSet<QString> fixedParts(const QString &language)
{
    QSet<QString> parts;
    for (const QVariant &text : table(language))
        parts += fixedPart(text.toString());
    return parts;
}

QStringList textsOfModel(const QAbstractItemModel &model)
{
    QStringList texts;
    for (int column = 0; column < model.columnCount(); ++column) {
        texts += model.headerData(column, Qt::Horizontal).toString();
        for (int row = 0; row < model.rowCount(); ++row) {
            for (const int role : {Qt::DisplayRole, Qt::ToolTipRole, Qt::AccessibleTextRole})
                texts += model.index(row, column).data(role).toString();
        }
    }
    return texts;
}

QStringList textsOf(const QWidget &widget)
{
    QStringList texts;
    for (const char *property : {"text", "title", "placeholderText", "windowTitle", "toolTip",
                                 "accessibleName", "accessibleDescription"})
        texts += widget.property(property).toString();
    if (const auto *view = qobject_cast<const QAbstractItemView *>(&widget))
        texts += textsOfModel(*view->model());
    for (const QAction *action : widget.actions())
        texts += action->text();
    texts.removeAll(QString());
    return texts;
}

/// Room that the widget lacks for its text, in words; empty for none.
QString cutText(const QWidget &widget)
{
    QSize needed;
    if (const auto *label = qobject_cast<const QLabel *>(&widget);
        label && !label->text().isEmpty())
        needed =
            label->wordWrap() ? QSize(0, label->heightForWidth(label->width())) : label->sizeHint();
    else if (const auto *button = qobject_cast<const QAbstractButton *>(&widget);
             button && !button->text().isEmpty())
        needed = widget.sizeHint();
    else if (const auto *field = qobject_cast<const QLineEdit *>(&widget))
        needed.setWidth(field->fontMetrics().horizontalAdvance(field->placeholderText()));
    else if (const auto *header = qobject_cast<const QHeaderView *>(&widget)) {
        for (int i = 0; i < header->count(); ++i) {
            if (header->sectionSizeHint(i) > header->sectionSize(i))
                return u"column %1"_s.arg(i);
        }
    }
    if (needed.width() <= widget.width() && needed.height() <= widget.height())
        return {};
    return u"%1 x %2 of %3 x %4"_s.arg(widget.width())
        .arg(widget.height())
        .arg(needed.width())
        .arg(needed.height());
}

/// What is wrong with the texts of everything that stands open.
QStringList wrongTexts()
{
    static const QMap<QString, QSet<QString>> parts = {{u"de"_s, fixedParts(u"de"_s)},
                                                       {u"en"_s, fixedParts(u"en"_s)}};
    static const QVariantMap keys = table(u"de"_s);
    const QSet<QString> own = parts[currentLanguage()];
    const QSet<QString> foreign = parts[currentLanguage() == u"de"_s ? u"en"_s : u"de"_s] - own;
    QStringList wrong;
    for (const QWidget *widget : QApplication::allWidgets()) {
        if (!widget->isVisible() && qobject_cast<const QMenu *>(widget) == nullptr)
            continue;
        const QString where = QString::fromLatin1(widget->metaObject()->className()) + u' '
                              + widget->objectName() + u": "_s;
        for (QString text : textsOf(*widget)) {
            text.remove(u'&');
            const bool other =
                std::any_of(foreign.begin(), foreign.end(), [&](const QString &part) {
                    return text == part || (part.size() >= 12 && text.contains(part))
                           || (part == u"belegt"_s && text.contains(part))
                           || (part == u"used"_s && text.contains(part));
                });
            if (other || (keys.contains(text) && !own.contains(text)))
                wrong += where + text;
        }
        const QString cut = cutText(*widget);
        if (!cut.isEmpty())
            wrong += where + textsOf(*widget).value(0) + u": "_s + cut;
    }
    return wrong;
}

class LanguageWalk : public testing::Test
{
protected:
    LanguageWalk()
    {
        FileManager::setVolumeSource(volumes.get());
        setCurrentLanguage(u"de"_s);
        window = std::make_unique<MainWindow>(Hardware{*volumes, *radio});
        window->resize(window->minimumSize());
        window->show();
    }
    ~LanguageWalk() override
    {
        window.reset();
        Dispatch::waitForGlobalWork();
        FileManager::setVolumeSource(nullptr);
        setCurrentLanguage(u"de"_s);
    }

    DemoSetup setup{
        DemoOptions{.penFolder = {}, .headless = true, .picturesFolder = {}, .titles = 12}};
    std::unique_ptr<VolumeSource> volumes = setup.makeVolumes();
    std::unique_ptr<CentralManager> radio = setup.radio().make();
    std::unique_ptr<MainWindow> window;
};

TEST_F(LanguageWalk, everythingOpenFollowsTheLanguageAndIsShownWhole)
{
    ViewController &controller = window->viewController();
    LanguageViewController &flags = *controller.languageViewController;
    QMap<QString, QStringList> wrong; // to the stops where it is seen
    PictureTour tour(controller, setup, [&](QWidget * /*window*/, const QString &name) {
        for (const auto press : {&LanguageViewController::englishButtonAction,
                                 &LanguageViewController::germanButtonAction}) {
            (flags.*press)();
            // What is laid out in steps has settled soon.
            (void)QTest::qWaitFor([] { return wrongTexts().isEmpty(); }, 200);
            for (const QString &text : wrongTexts())
                wrong[currentLanguage() + u", "_s + text] += name;
        }
    });
    controller.bluetoothService.scanDuration = std::chrono::milliseconds(500);
    tour.stay = std::chrono::milliseconds(20);
    tour.addEveryView();
    bool over = false;
    QObject::connect(&tour, &PictureTour::finished, [&over] { over = true; });
    tour.start();
    ASSERT_TRUE(QTest::qWaitFor([&] { return over; }, 100'000));
    for (const auto &[text, stops] : wrong.asKeyValueRange())
        ADD_FAILURE() << qPrintable(text + u" ("_s + stops.join(u' ') + u')');
    EXPECT_EQ(tour.missed(), QStringList());
}

} // namespace
