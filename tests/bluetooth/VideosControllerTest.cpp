#include "bluetooth/VideosController.h"

#include "tests/support/Configuration.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"
#include "tests/support/WebTest.h"

#include "base/AlertBox.h"
#include "base/ColorConstants.h"
#include "bluetooth/BluetoothService.h"
#include "pen/URLFactory.h"
#include "platform/SimulatedCentral.h"
#include "platform/WebView.h"
#include "platform/Workspace.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

class VideosViews : public WebTest
{
protected:
    VideosViews()
    {
        setCurrentLanguage(u"de"_s);
        Workspace::setOpener([this](const QUrl &address) {
            opened += address.toString(QUrl::FullyEncoded);
            return true;
        });
    }
    ~VideosViews() override { Workspace::setOpener({}); }
    void SetUp() override {} // most of it needs no engine: nothing of it is shown

    void offerPens(const QStringList &names)
    {
        service.delegate->foundPens(service, names, [this](int index) { chosen += index; });
    }
    void receive(const std::optional<QUrl> &url) { service.delegate->didReceiveURL(service, url); }
    [[nodiscard]] QString playedPage() const { return videos.webView->request().html; }
    void expectState(const QString &sentence, const QIcon &icon, bool scanning)
    {
        EXPECT_EQ(videos.connectionLabel->text(), sentence);
        EXPECT_EQ(videos.connectionButton->accessibleDescription(), sentence);
        EXPECT_EQ(videos.connectionButton->icon().cacheKey(), icon.cacheKey());
        EXPECT_EQ(videos.findChild<QProgressBar *>()->isHidden(), !scanning);
    }

    static QString page(const QString &address)
    {
        return uR"(<html><video controls="" autoplay="" src=")"_s + address
               + uR"(" type="video/mp4" width="100%"></video></html>)"_s;
    }

    Configuration configuration;
    SimulatedCentral radio;
    BluetoothService service{radio};
    QStringList opened;
    QList<int> chosen;
    VideosController videos{&service};
};

} // namespace

TEST_F(VideosViews, followTheStateOfTheLinkInTheLanguageShown)
{
    const QString none = u"Kein Stift über Bluetooth verbunden."_s;
    for (const QLabel *label :
         {videos.explanationLabel, videos.connectionLabel, videos.pleaseChooseLabel})
        EXPECT_EQ(label->palette().color(QPalette::WindowText), ColorConstants::mainColor());
    expectState(none, videos.imageDisconnected, false);
    EXPECT_FALSE(videos.imageConnected.isNull());
    videos.connectionButton->click();
    EXPECT_TRUE(service.scanning());
    expectState(u"Der Stift wird gesucht …"_s, videos.imageDisconnected, true);
    {
        VideosController later(&service);
        EXPECT_EQ(later.connectionLabel->text(), u"Der Stift wird gesucht …"_s);
        const BluetoothServiceDelegate *taken = service.delegate;
        videos.setBluetoothService(nullptr);
        EXPECT_EQ(service.delegate, taken);
    }
    EXPECT_EQ(service.delegate, nullptr);
    videos.setBluetoothService(&service);
    service.delegate->isScanning(service, false);
    expectState(none, videos.imageDisconnected, false);

    offerPens({u"Quillo 1"_s, u"Quillo 2"_s});
    configuration.set(propertyList({{URLFactory::dummyVideoKey, u"http://a.example/demo.mp4"_s}}));
    receive(QUrl(u"http://films.example/a.mp4"_s));
    setCurrentLanguage(u"en"_s);
    videos.languageChanged();
    EXPECT_EQ(playedPage(), page(u"http://films.example/a.mp4"_s)) << "it plays on";
    EXPECT_EQ(videos.quillosComboBox->count(), 2);
    EXPECT_EQ(videos.quillosComboBox->placeholderText(), localized(u"choose_pen"_s));
    EXPECT_FALSE(videos.pleaseChooseLabel->isHidden() || videos.quillosComboBox->isHidden());
    service.delegate->connectionChanged(service, true);
    EXPECT_TRUE(videos.quillosComboBox->isHidden() && videos.pleaseChooseLabel->isHidden());
    videos.languageChanged();
    expectState(u"The pen is connected via Bluetooth."_s, videos.imageConnected, false);
    EXPECT_EQ(videos.explanationLabel->text(), localized(u"video_explanation_title"_s));
    EXPECT_EQ(videos.connectionButton->accessibleName(), u"Connect or disconnect Bluetooth"_s);
    EXPECT_EQ(videos.webView->findChild<QPushButton *>(u"browserButton"_s)->text(),
              u"Open in browser"_s);
}

TEST_F(VideosViews, choosePensFromTheOpenListAlone)
{
    videos.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&videos));
    QComboBox &chooser = *videos.quillosComboBox;
    offerPens({u"Quillo 1"_s});
    EXPECT_TRUE(chooser.isHidden());
    videos.selectionHandler(7);
    offerPens({u"Quillo 1"_s, u"Quillo 2"_s, u"Quillo 3"_s});
    EXPECT_EQ(chooser.count(), 3);
    EXPECT_EQ(chooser.itemText(2), u"Quillo 3"_s);

    videos.connectionButton->setFocus();
    QTest::keyClick(videos.connectionButton, Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), &chooser);
    for (int again = 0; again < 2; ++again) { // also the one that is shown already
        QTest::keyClick(&chooser, Qt::Key_Down);
        QWidget *list = QApplication::activePopupWidget();
        ASSERT_TRUE(list);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Home);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        EXPECT_TRUE(waitUntil([&] { return !list->isVisible(); }));
    }
    EXPECT_EQ(chosen, QList<int>({7, 0, 0}));
}

TEST_F(VideosViews, sayAMessageOnceWhileItStands)
{
    QList<std::pair<Alert, AlertBox::Answer>> alerts;
    AlertBox::setPresenter([&](const Alert &alert, QWidget &, AlertBox::Answer answer) {
        alerts.append({alert, std::move(answer)});
    });
    const auto say = [this](const QString &key) {
        service.delegate->showMessage(service, key);
    };
    say(u"bluetooth_power_off"_s);
    say(u"bluetooth_power_off"_s);
    say(u"bluetooth_connection_failed"_s);
    ASSERT_EQ(alerts.size(), 2);
    EXPECT_EQ(alerts.first().first.messageText, localized(u"bluetooth_power_off"_s));
    EXPECT_EQ(alerts.first().first.informativeText, localized(u"bluetooth_power_off"_s));
    alerts.first().second(true);
    say(u"bluetooth_power_off"_s);
    EXPECT_EQ(alerts.size(), 3);
    AlertBox::setPresenter({});
}

TEST_F(VideosViews, playTheDemonstrationAtFirstAndWhenThePenAsks)
{
    const QString address = u"http://films.example/demo.mp4"_s;
    configuration.set(propertyList({{URLFactory::dummyVideoKey, address}}));
    receive(std::nullopt);
    EXPECT_EQ(playedPage(), page(address));
    EXPECT_EQ(VideosController(nullptr).webView->request().html, page(address));
    EXPECT_EQ(videos.webView->request().address, QUrl(address));
    EXPECT_FALSE(videos.webView->isRunning());
}

TEST_F(VideosViews, letNoAddressBreakOutOfThePage)
{
    if (webEngineObstacle())
        GTEST_SKIP() << "the web engine cannot start";
    enum Fate { played, open, dropped };
    struct Row
    {
        const char *name;
        QString address;
        Fate fate;
        QString result = {}; ///< of the page's src, or for the browser; empty for the address
    };
    QWebEnginePage parser;
    parser.setHtml(u"<html>"_s);
    const auto check = [&](const Row &row) {
        opened.clear();
        videos.webView->loadHTML({}, {});
        const QString expected = row.result.isEmpty() ? row.address : row.result;
        const QUrl url(row.address);
        const QStringList log = loggedBy([&] { receive(url); });
        EXPECT_EQ(opened, row.fate == open ? QStringList{expected} : QStringList());
        EXPECT_EQ(playedPage().isEmpty(), row.fate != played);
        const QString text = url.toString(QUrl::FullyEncoded);
        EXPECT_EQ(log, text.endsWith(u".mp4"_s) ? QStringList{u"Video url found "_s + text}
                                                : QStringList());
        if (row.fate != played)
            return;
        const QString html = QString::fromUtf8(
            QJsonDocument(QJsonArray{playedPage()}).toJson(QJsonDocument::Compact));
        const QString read = uR"((() => {
            const page = new DOMParser().parseFromString(%1[0], 'text/html');
            const all = [...page.querySelectorAll('*')], video = page.querySelector('video');
            return [all.map(e => e.localName).join(), video.getAttributeNames().join(),
                    video.getAttribute('src')];
        })())"_s;
        EXPECT_EQ(evaluate(parser, read.arg(html)).toStringList(),
                  QStringList({u"html,head,body,video"_s, u"controls,autoplay,src,type,width"_s,
                               expected}));
    };
    const QString host = u"http://films.example/"_s;
    forEachRow<Row>(
        {{"plain", host + u"a.mp4"_s, played},
         {"colon", u"http%3A//films.example%3A81/a%3Ab.mp4"_s, played,
          u"http://films.example:81/a:b.mp4"_s},
         {"upper case", host + u"a.MP4"_s, open},
         {"web page", u"https://films.example/a?b=c"_s, open},
         {"quotes and tags", host + u"\"><script>alert('1')</script>.mp4"_s, played,
          host + u"%22%3E%3Cscript%3Ealert('1')%3C/script%3E.mp4"_s},
         {"quotes and tags in a query", host + u"?\"onerror=\"x<b>.mp4"_s, played,
          host + u"?%22onerror=%22x%3Cb%3E.mp4"_s},
         {"quote as an entity", host + u"a&quot;onerror=x&gt;.mp4"_s, played,
          host + u"a\"onerror=x>.mp4"_s},
         {"control characters", host + u"a\n\t\1\x7F.mp4"_s, played, host + u"a%0A%09%01%7F.mp4"_s},
         {"not ASCII", u"http://bücher.example/ü.mp4"_s, played,
          u"http://xn--bcher-kva.example/%C3%BC.mp4"_s},
         {"no host", u"http:///a.mp4"_s, dropped},
         {"script", u"javascript:alert(1)//.mp4"_s, dropped},
         {"script with a colon written out", u"javascript%3Aalert(1)//.mp4"_s, dropped},
         {"file", u"file:///etc/a.mp4"_s, dropped},
         {"script, no film", u"javascript:alert(1)"_s, dropped},
         {"program, no film", u"mailto:a@b.example"_s, dropped},
         {"nothing", u".mp4"_s, dropped}},
        check);
}
