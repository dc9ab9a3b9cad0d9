#include "demo/ControlPanel.h"
#include "base/Localization.h"
#include "demo/DemoSetup.h"
#include "platform/VolumeSource.h"
#include "tests/bluetooth/BluetoothFixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTcpSocket>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

class ShownPanel : public testing::Test
{
protected:
    void SetUp() override
    {
        setCurrentLanguage(u"en"_s);
        m_volumes = m_setup.makeVolumes();
        ASSERT_EQ(m_setup.error(), QString());
        m_panel = std::make_unique<ControlPanel>(m_setup, m_mainWindow);
        m_panel->show();
    }

    [[nodiscard]] QAbstractButton *button(const QString &text) const
    {
        for (QAbstractButton *candidate : m_panel->findChildren<QAbstractButton *>()) {
            if (candidate->text().remove(u'&') == text)
                return candidate;
        }
        return nullptr;
    }
    void press(const QString &text) const
    {
        ASSERT_NE(button(text), nullptr) << text.toStdString();
        QTest::keyClick(button(text), Qt::Key_Space);
    }
    [[nodiscard]] bool isServerThere() const
    {
        QTcpSocket socket;
        socket.connectToHost(u"127.0.0.1"_s,
                             quint16(QUrl(m_setup.servers().mediaAddress()).port()));
        return socket.waitForConnected();
    }

    QWidget m_mainWindow;
    mutable DemoSetup m_setup{DemoOptions{.penFolder = {}, .picturesFolder = {}, .titles = 1}};
    std::unique_ptr<VolumeSource> m_volumes;
    std::unique_ptr<ControlPanel> m_panel;
};

TEST_F(ShownPanel, takesAwayThePenAndTheServersAndBringsThemBack)
{
    ASSERT_EQ(m_volumes->volumes().size(), 1);
    EXPECT_EQ(m_volumes->volumes().first().name, u"QUILLO"_s);
    for (const bool there : {false, true}) {
        press(there ? u"Plug in the pen"_s : u"Pull out the pen"_s);
        EXPECT_EQ(m_volumes->volumes().size(), there ? 1 : 0);
        EXPECT_EQ(button(u"Pull out the pen"_s)->isEnabled(), there);
        EXPECT_NE(button(u"Plug in the pen"_s)->isEnabled(), there);
        EXPECT_NE(isServerThere(), there);
        press(u"Servers reachable"_s);
        EXPECT_EQ(isServerThere(), there);
    }
}

TEST_F(ShownPanel, hasThePenSendOverBluetooth)
{
    const std::unique_ptr<CentralManager> radio = m_setup.radio().make();
    BluetoothService service(*radio);
    ToldByRadio heard;
    service.delegate = &heard;
    service.scanDuration = std::chrono::milliseconds(20);
    const auto afterPressing = [&](const QString &text, const QString &last) {
        press(text);
        return heard.upTo(last);
    };
    press(u"Second pen too"_s);
    press(u"Pen within reach"_s);
    press(u"Point at a video"_s);
    service.startScan();
    EXPECT_EQ(heard.upTo(u"connected"_s).size(), 3) << "nothing before";
    EXPECT_EQ(service.quilloPeripheral()->identifier(), u"C0:FF:EE:00:00:02"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_setup.radio().send("?"); }));
    const QString video = m_setup.servers().videoAddress();
    EXPECT_EQ(afterPressing(u"Point at a video"_s, video), QStringList{video});
    press(u"Break off in the middle"_s);
    const QString page = m_setup.servers().pageAddress();
    EXPECT_EQ(afterPressing(u"Point at a web page"_s, page), QStringList{page});
    const QString standard = u"default video"_s;
    EXPECT_EQ(afterPressing(u"Ask for the demo video"_s, standard), QStringList{standard});
    EXPECT_EQ(afterPressing(u"Bluetooth on"_s, u"not connected"_s).size(), 2);
}

/// Two controls with one key would make the key useless.
TEST_F(ShownPanel, everyControlHasAKeyOfItsOwn)
{
    for (const QString &language : {u"de"_s, u"en"_s}) {
        setCurrentLanguage(language);
        QEvent activated(QEvent::WindowActivate);
        QApplication::sendEvent(m_panel.get(), &activated);
        QSet<QString> keys;
        const auto controls = m_panel->findChildren<QAbstractButton *>();
        for (const QAbstractButton *control : controls) {
            const QString text = control->text();
            keys.insert(text.mid(text.indexOf(u'&') + 1, 1).toLower());
        }
        EXPECT_EQ(controls.size(), 11);
        EXPECT_EQ(button(u"Stift abziehen"_s) != nullptr, language == u"de"_s);
        EXPECT_EQ(keys.size(), controls.size()) << language.toStdString();
    }
}
