#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns the system's requests to end the program (SIGINT, SIGTERM) into a signal of the event
/// loop. One object at a time; when it goes, they end the program at once again.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

    /// Whether one has come since the object was made, for work before the event loop runs. Any
    /// thread.
    [[nodiscard]] static bool haveCome();

Q_SIGNALS:
    void requested();

private:
    void drain();

    QSocketNotifier *m_notifier = nullptr;
};

/// Writing to a connection that the other side closed is an error to handle, not the end.
void ignoreBrokenPipes();
