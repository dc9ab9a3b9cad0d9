#pragma once

#include <QWidget>

class DemoSetup;
class QCheckBox;
class QLabel;
class QPushButton;

/// Small window beside the main window to plug the pen, to disturb the servers and to have the pen
/// send over Bluetooth.
class ControlPanel : public QWidget
{
    Q_OBJECT

public:
    /// Floats beside `mainWindow` and goes with it. The setup must outlive the panel.
    ControlPanel(DemoSetup &setup, QWidget &mainWindow);

protected:
    /// Activated: another window may have changed the language or ejected the pen.
    bool event(QEvent *event) override;

private:
    void addControls();
    void addRadioControls();
    void updateRadioTexts();
    void updateTexts();
    void updateStates();
    void standBeside(const QWidget &mainWindow);

    void plugIn();
    void pullOut();
    void setServersThere(bool there);
    void setSlowNetwork(bool slow);
    void sendVideo();
    void sendPage();
    void askForDefaultVideo();
    void breakOff();
    /// What became of what the pen sent.
    void showSent(bool sent);

    DemoSetup &m_setup;
    QLabel *m_penState = nullptr;
    QPushButton *m_plugIn = nullptr;
    QPushButton *m_pullOut = nullptr;
    QCheckBox *m_serversThere = nullptr;
    QCheckBox *m_slowNetwork = nullptr;
    QCheckBox *m_radioOn = nullptr;
    QCheckBox *m_inReach = nullptr;
    QCheckBox *m_secondInReach = nullptr;
    QPushButton *m_sendVideo = nullptr;
    QPushButton *m_sendPage = nullptr;
    QPushButton *m_askForDefaultVideo = nullptr;
    QPushButton *m_breakOff = nullptr;
    QLabel *m_radioState = nullptr;
};
