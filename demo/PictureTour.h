#pragma once

#include <QList>
#include <QObject>
#include <QTimer>

#include <functional>

class DemoPen;
class QWidget;
class ViewController;

/// Shows every view in both forms and both languages, the deletion alert, and the window without
/// pen, one after another, each long enough for its covers to be there.
class PictureTour : public QObject
{
    Q_OBJECT

public:
    using TakePicture = std::function<void(QWidget *window, const QString &name)>;

    /// All of these must outlive the tour.
    PictureTour(ViewController &viewController, DemoPen &pen, TakePicture takePicture);

    void start();

Q_SIGNALS:
    void finished();

private:
    struct Stop
    {
        QString name;
        std::function<void()> prepare;
    };

    void addLanguage(const QString &language);
    void addSelection(const QString &language);
    void addAlert(const QString &language);
    void addWithoutPen(const QString &language);
    void next();
    [[nodiscard]] QWidget *shownWindow() const;

    ViewController &m_viewController;
    DemoPen &m_pen;
    TakePicture m_takePicture;
    QList<Stop> m_stops;
    QString m_shown;
    QTimer m_timer;
};
