#pragma once

#include "demo/PenCheck.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <optional>

class DemoSetup;
class DownloadWindowController;
class PictureTour;
class QuilloApplication;
class QWidget;
struct DemoOptions;

/// Follows one update run without a person: takes the pictures, presses OK at its end, compares the
/// pen with what the servers hold, tells what happened and ends the program.
class HeadlessRun : public QObject
{
    Q_OBJECT

public:
    /// Before the application runs; all of these must outlive this object.
    HeadlessRun(DemoSetup &setup, QuilloApplication &application, const DemoOptions &options);
    ~HeadlessRun() override;

    /// After the application ran: 0 only if everything arrived, 1 also when it was ended early.
    [[nodiscard]] int exitCode() const { return m_exitCode.value_or(1); }

private:
    /// What it waits for.
    enum class Step {
        SplashWindow,
        MainWindow,
        DownloadWindow,
        FirstTransfer,
        HalfWay,
        End,
        Log,
        OtherViews
    };

    void splashShown();
    void mainWindowShown();
    void downloadWindowShown();
    void progressed();
    void completed();
    void runEnded();
    void look();
    void showOthers();
    void finish();
    void leave(int exitCode);
    void aboutToQuit();
    void timedOut();

    [[nodiscard]] DownloadWindowController &controller() const;
    [[nodiscard]] bool isLogTaken() const;
    void takePicture(QWidget *window, const QString &name);
    [[nodiscard]] QStringList problems(const PenFiles &found) const;

    DemoSetup &m_setup;
    QuilloApplication &m_application;
    QString m_picturesFolder;
    bool m_everyView;
    PenFiles m_before;
    Step m_step = Step::SplashWindow;
    QStringList m_pictures;
    QStringList m_placed;
    QStringList m_failures;
    QTimer m_watchdog;
    QTimer m_looking;
    int m_looks = 0;
    std::optional<int> m_exitCode;
    std::unique_ptr<PictureTour> m_tour;
};
