#pragma once

#include "demo/LoopbackServer.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <mutex>

class DemoCatalogue;

/// The media, the file and the log server. Main thread only, but for what its threads do inside.
class DemoServers
{
public:
    /// The catalogue must outlive the servers.
    explicit DemoServers(const DemoCatalogue &catalogue);

    /// False when one of them cannot listen.
    [[nodiscard]] bool start();
    /// They refuse connections and drop what they were sending, until start().
    void stop();

    /// How quickly files are sent; 0 for as quickly as possible.
    void setBytesPerSecond(qint64 bytesPerSecond);

    /// Addresses with "/" at the end.
    [[nodiscard]] QString mediaAddress() const;
    [[nodiscard]] QString fileAddress() const;
    [[nodiscard]] QString logAddress() const;
    /// Of what the pen points at.
    [[nodiscard]] QString videoAddress() const;
    [[nodiscard]] QString pageAddress() const;

    /// The bodies that the log server has accepted so far.
    [[nodiscard]] QList<QByteArray> receivedLogs() const;

private:
    DemoAnswer takeLog(const DemoRequest &request);

    mutable std::mutex m_mutex;
    QList<QByteArray> m_receivedLogs;
    LoopbackServer m_media;
    LoopbackServer m_files;
    LoopbackServer m_log;
};
