#pragma once

#include "platform/URLTypes.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>

/// One request and its one answer, on a session's thread: sends, follows redirects, reads, and says
/// how it ended. Every request has a connection of its own: on a kept one it would be sent twice
/// when that had died, and could be answered with what an earlier answer left there.
class Transfer
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Transfer(URLRequest request);
    virtual ~Transfer();
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;

    [[nodiscard]] CURL *handle() const { return m_easy.get(); }

    /// Makes the request ready; false when it has ended without one.
    [[nodiscard]] virtual bool begin();
    [[nodiscard]] virtual bool isCancelled() const { return false; }
    /// When a byte of a body was sent or came last; before that, when the transfer began: a header
    /// is no sign of life, or one without end would hold the transfer for ever.
    [[nodiscard]] Clock::time_point lastSign() const { return m_lastSign; }

    /// True when the answer leads on to another address, which is ready to be asked.
    [[nodiscard]] bool followRedirect();
    /// The connection has done what it could; ends the transfer.
    void finish(CURLcode code);
    void endCancelled() { ended(End::Cancelled, QStringLiteral("Abgebrochen")); }
    void endSilent();

protected:
    enum class End {
        Complete,
        Interrupted, ///< the line failed; what arrived is good
        Silent,      ///< so is it when the server said no more
        Refused,     ///< what arrived, or where it should go, is of no use
        Cancelled,
    };

    [[nodiscard]] URLRequest &request() { return m_request; }
    [[nodiscard]] const URLRequest &request() const { return m_request; }
    [[nodiscard]] const std::optional<URLResponse> &response() const { return m_response; }
    /// "HTTP 404 Not Found"
    [[nodiscard]] QString statusText() const;

    /// Has the transfer end with this; the rest of the answer is dropped.
    void refuse(const QString &error) { m_refusal = error; }

    /// The header of the answer, after redirects, is there. May refuse, as the next one.
    virtual void answered(const URLResponse &response) = 0;
    virtual void received(const char *data, qint64 size) = 0;
    /// The body has ended as it should; an objection refuses it.
    [[nodiscard]] virtual QString objection() const = 0;
    /// The last call.
    virtual void ended(End how, const QString &error) = 0;

private:
    struct Free
    {
        void operator()(CURL *easy) const { curl_easy_cleanup(easy); }
        void operator()(curl_slist *list) const { curl_slist_free_all(list); }
    };

    static size_t headerLine(char *data, size_t one, size_t size, void *transfer);
    static size_t bodyBytes(char *data, size_t one, size_t size, void *transfer);
    static int progress(void *transfer, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent);

    void setOptions();
    void setMethod();
    void setHeaders();
    void readStatusLine(const QByteArray &line);
    void readHeaderLine(const QByteArray &line);
    void endHeader();
    [[nodiscard]] QString objectionToRedirect(const QUrl &target) const;
    [[nodiscard]] QString errorText(CURLcode code) const;

    URLRequest m_request;
    const std::unique_ptr<CURL, Free> m_easy{curl_easy_init()};
    std::unique_ptr<curl_slist, Free> m_headers;
    char m_error[CURL_ERROR_SIZE] = {};
    URLResponse m_incoming; ///< its header is still being read
    QByteArray m_reason;    ///< of the status line
    std::optional<URLResponse> m_response;
    std::optional<QUrl> m_redirect;
    int m_redirects = 0;
    curl_off_t m_sent = 0; ///< bytes of the body
    QString m_refusal;
    Clock::time_point m_lastSign = Clock::now();
};
