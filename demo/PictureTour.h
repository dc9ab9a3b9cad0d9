#pragma once

#include <QDeadlineTimer>
#include <QList>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class DemoSetup;
class QWidget;
class ViewController;

/// Shows one view after another, each until what it waits for is there.
class PictureTour : public QObject
{
    Q_OBJECT

public:
    using TakePicture = std::function<void(QWidget *window, const QString &name)>;

    /// All of these must outlive the tour.
    PictureTour(ViewController &viewController, DemoSetup &setup, TakePicture takePicture);

    /// The music, and a video that the pen points at; the pictures' numbers go on from `number`.
    void addMusicAndVideo(int number);
    /// Every view in both forms and both languages, the deletion alert, the videos view in all its
    /// states, and the window without pen.
    void addEveryView();

    void start();

    /// Until the covers are decoded and the slower news have arrived.
    std::chrono::milliseconds stay{700};

    /// What a stop waited for without seeing it, as names of pictures.
    [[nodiscard]] const QStringList &missed() const { return m_missed; }

Q_SIGNALS:
    void finished();

private:
    struct Stop
    {
        QString name; ///< of the picture; empty for none
        std::function<void()> prepare;
        std::function<bool()> ready = {}; ///< empty for after a while
    };

    void addLanguage(const QString &language);
    void addSelection(const QString &language);
    void addSearch(const QString &language);
    void addShop(const QString &language);
    void addLegalTexts(const QString &language);
    void addAlert(const QString &language);
    void addVideos(const QString &language);
    void addMusic(const QString &language);
    void addWithoutPen(const QString &language);
    void next();
    void startScan();
    void pointAtVideo();
    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool isPlaying() const;
    [[nodiscard]] QWidget *shownWindow() const;

    ViewController &m_viewController;
    DemoSetup &m_setup;
    TakePicture m_takePicture;
    QList<Stop> m_stops;
    Stop m_shown;
    QStringList m_missed;
    QTimer m_timer;
    QDeadlineTimer m_patience; ///< for what is shown
};
