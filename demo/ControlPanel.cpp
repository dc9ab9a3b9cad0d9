#include "demo/ControlPanel.h"

#include "base/Localization.h"
#include "demo/DemoSetup.h"

#include <QCheckBox>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int margin = 12;

constexpr int pieces = 5; // of an address that the pen sends

QString inLanguage(const QString &german, const QString &english)
{
    return currentLanguage() == u"de"_s ? german : english;
}

} // namespace

ControlPanel::ControlPanel(DemoSetup &setup, QWidget &mainWindow)
    : QWidget(&mainWindow, Qt::Tool | Qt::CustomizeWindowHint | Qt::WindowTitleHint)
    , m_setup(setup)
{
    addControls();
    updateTexts();
    updateStates();
    standBeside(mainWindow);
}

bool ControlPanel::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::Enter) {
        updateTexts();
        updateStates();
    }
    return QWidget::event(event);
}

void ControlPanel::addControls()
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    m_penState = new QLabel(this);
    m_plugIn = new QPushButton(this);
    m_pullOut = new QPushButton(this);
    m_serversThere = new QCheckBox(this);
    m_serversThere->setChecked(true);
    m_slowNetwork = new QCheckBox(this);
    for (QWidget *control : std::initializer_list<QWidget *>{m_penState, m_plugIn, m_pullOut,
                                                             m_serversThere, m_slowNetwork})
        layout->addWidget(control);
    connect(m_plugIn, &QPushButton::clicked, this, &ControlPanel::plugIn);
    connect(m_pullOut, &QPushButton::clicked, this, &ControlPanel::pullOut);
    connect(m_serversThere, &QCheckBox::toggled, this, &ControlPanel::setServersThere);
    connect(m_slowNetwork, &QCheckBox::toggled, this, &ControlPanel::setSlowNetwork);
    addRadioControls();
}

void ControlPanel::addRadioControls()
{
    DemoRadio &radio = m_setup.radio();
    const auto add = [this](auto *control) {
        layout()->addWidget(control);
        return control;
    };
    m_radioState = add(new QLabel(this));
    m_radioOn = add(new QCheckBox(this));
    m_inReach = add(new QCheckBox(this));
    m_secondInReach = add(new QCheckBox(this));
    m_sendVideo = add(new QPushButton(this));
    m_sendPage = add(new QPushButton(this));
    m_askForDefaultVideo = add(new QPushButton(this));
    m_breakOff = add(new QPushButton(this));
    m_radioOn->setChecked(true);
    m_inReach->setChecked(true);
    connect(m_radioOn, &QCheckBox::toggled, this, [&radio](bool on) { radio.setPoweredOn(on); });
    connect(m_inReach, &QCheckBox::toggled, this, [&radio](bool in) { radio.setInReach(0, in); });
    connect(m_secondInReach, &QCheckBox::toggled, this,
            [&radio](bool in) { radio.setInReach(1, in); });
    connect(m_sendVideo, &QPushButton::clicked, this, &ControlPanel::sendVideo);
    connect(m_sendPage, &QPushButton::clicked, this, &ControlPanel::sendPage);
    connect(m_askForDefaultVideo, &QPushButton::clicked, this, &ControlPanel::askForDefaultVideo);
    connect(m_breakOff, &QPushButton::clicked, this, &ControlPanel::breakOff);
}

void ControlPanel::updateTexts()
{
    setWindowTitle(inLanguage(u"Vorführung"_s, u"Demo"_s));
    m_plugIn->setText(inLanguage(u"Stift &einstecken"_s, u"Plug &in the pen"_s));
    m_pullOut->setText(inLanguage(u"Stift &abziehen"_s, u"Pull &out the pen"_s));
    m_serversThere->setText(inLanguage(u"Server e&rreichbar"_s, u"Se&rvers reachable"_s));
    m_slowNetwork->setText(inLanguage(u"&Langsames Netz"_s, u"&Slow network"_s));
    updateRadioTexts();
}

void ControlPanel::updateRadioTexts()
{
    m_radioOn->setText(inLanguage(u"&Bluetooth an"_s, u"&Bluetooth on"_s));
    m_inReach->setText(inLanguage(u"Stift in Reich&weite"_s, u"Pen &within reach"_s));
    m_secondInReach->setText(inLanguage(u"&Zweiter Stift auch"_s, u"Second pen &too"_s));
    m_sendVideo->setText(inLanguage(u"Auf ein &Video tippen"_s, u"Point at a &video"_s));
    m_sendPage->setText(inLanguage(u"A&uf eine Webseite tippen"_s, u"&Point at a web page"_s));
    m_askForDefaultVideo->setText(
        inLanguage(u"&Demovideo verlangen"_s, u"Ask for the &demo video"_s));
    m_breakOff->setText(inLanguage(u"&Mittendrin abbrechen"_s, u"Break off in the &middle"_s));
}

void ControlPanel::updateStates()
{
    const bool plugged = m_setup.pen().isPluggedIn();
    m_penState->setText(plugged ? inLanguage(u"Der Stift steckt."_s, u"The pen is plugged in."_s)
                                : inLanguage(u"Der Stift steckt nicht."_s, u"The pen is out."_s));
    m_plugIn->setEnabled(!plugged);
    m_pullOut->setEnabled(plugged);
    m_radioState->setText(
        m_setup.radio().isConnected()
            ? inLanguage(u"Über Bluetooth verbunden."_s, u"Connected over Bluetooth."_s)
            : inLanguage(u"Nicht über Bluetooth verbunden."_s, u"Not connected over Bluetooth."_s));
}

/// To the right of the main window, or over its edge where the screen ends.
void ControlPanel::standBeside(const QWidget &mainWindow)
{
    adjustSize();
    const QRect screen = mainWindow.screen()->availableGeometry();
    const QPoint beside = mainWindow.frameGeometry().topRight() + QPoint(margin, margin);
    move(std::min(beside.x(), screen.right() - width() - margin),
         std::min(beside.y(), screen.bottom() - height() - margin));
}

void ControlPanel::plugIn()
{
    m_setup.pen().plugIn();
    updateStates();
    m_pullOut->setFocus();
}

void ControlPanel::pullOut()
{
    m_setup.pen().pullOut();
    updateStates();
    m_plugIn->setFocus();
}

void ControlPanel::setServersThere(bool there)
{
    if (!there)
        m_setup.servers().stop();
    else if (!m_setup.servers().start())
        m_serversThere->setChecked(false);
}

void ControlPanel::setSlowNetwork(bool slow)
{
    m_setup.setSlowNetwork(slow);
}

void ControlPanel::sendVideo()
{
    showSent(m_setup.radio().sendAddress(m_setup.servers().videoAddress().toLatin1(), pieces));
}

void ControlPanel::sendPage()
{
    showSent(m_setup.radio().sendAddress(m_setup.servers().pageAddress().toLatin1(), pieces));
}

void ControlPanel::askForDefaultVideo()
{
    showSent(m_setup.radio().askForDefaultVideo());
}

void ControlPanel::breakOff()
{
    showSent(m_setup.radio().breakOff(m_setup.servers().videoAddress().toLatin1()));
}

void ControlPanel::showSent(bool sent)
{
    updateStates();
    if (sent)
        m_radioState->setText(inLanguage(u"Gesendet."_s, u"Sent."_s));
}
