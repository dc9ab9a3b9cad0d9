#pragma once

#include "platform/URLTypes.h"

#include <QNetworkAccessManager>
#include <QObject>

class QNetworkReply;

/// One request and its one reply, on a session's thread: sends, reads, and says how it ended.
class Transfer : public QObject
{
    Q_OBJECT

public:
    Transfer(QNetworkAccessManager &network, int timeout);
    ~Transfer() override;

    virtual void start() = 0;
    /// Ends with the failure "Abgebrochen".
    void cancel();

Q_SIGNALS:
    /// Once, after everything has been told.
    void ended();

protected:
    enum class End {
        Complete,
        Interrupted, ///< the line failed; what arrived is good
        Refused,     ///< what arrived, or where it should go, is of no use
        Cancelled,
    };

    void send(const URLRequest &request);
    /// Drops the reply and tells; the first call counts.
    void end(End how, const QString &error = {});

    [[nodiscard]] const std::optional<URLResponse> &response() const { return m_response; }
    /// "HTTP 404 Not Found"
    [[nodiscard]] QString statusText() const;

    /// The header of the answer, after redirects, is there. May end the transfer, as the next two.
    virtual void answered(const URLResponse &response) = 0;
    virtual void received(const char *data, qint64 size) = 0;
    /// The whole answer has been received as far as the network can tell.
    virtual void finished() = 0;
    /// The last call.
    virtual void tell(End how, const QString &error) = 0;

private:
    void readHeader();
    void readBody();
    void replyFinished();
    [[nodiscard]] bool isTransportFailure() const;
    [[nodiscard]] QString failureText() const;
    void dropReply();

    QNetworkAccessManager &m_network;
    const int m_timeout;
    QNetworkReply *m_reply = nullptr;
    QNetworkAccessManager::Operation m_operation = QNetworkAccessManager::UnknownOperation;
    std::optional<URLResponse> m_response;
    bool m_ended = false;
};
