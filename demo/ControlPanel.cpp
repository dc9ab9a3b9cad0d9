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
}

void ControlPanel::updateTexts()
{
    setWindowTitle(inLanguage(u"Vorführung"_s, u"Demo"_s));
    m_plugIn->setText(inLanguage(u"Stift &einstecken"_s, u"Plug &in the pen"_s));
    m_pullOut->setText(inLanguage(u"Stift &abziehen"_s, u"Pull &out the pen"_s));
    m_serversThere->setText(inLanguage(u"Server e&rreichbar"_s, u"Se&rvers reachable"_s));
    m_slowNetwork->setText(inLanguage(u"&Langsames Netz"_s, u"&Slow network"_s));
}

void ControlPanel::updateStates()
{
    const bool plugged = m_setup.pen().isPluggedIn();
    m_penState->setText(plugged ? inLanguage(u"Der Stift steckt."_s, u"The pen is plugged in."_s)
                                : inLanguage(u"Der Stift steckt nicht."_s, u"The pen is out."_s));
    m_plugIn->setEnabled(!plugged);
    m_pullOut->setEnabled(plugged);
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
