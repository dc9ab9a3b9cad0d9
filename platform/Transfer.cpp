#include "platform/Transfer.h"

#include "platform/ResumeData.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <array>

namespace {

constexpr qint64 readBufferSize = 1024 * 1024; // without a bound it grows as the disk falls behind
constexpr qint64 blockSize = 64 * 1024;
constexpr int maximumRedirects = 5;

QNetworkRequest networkRequest(const URLRequest &request, int timeout)
{
    QNetworkRequest result(request.url);
    result.setTransferTimeout(timeout);
    result.setMaximumRedirectsAllowed(maximumRedirects);
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                        QNetworkRequest::NoLessSafeRedirectPolicy);
    result.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    for (const auto attribute :
         {QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::CookieSaveControlAttribute,
          QNetworkRequest::AuthenticationReuseAttribute})
        result.setAttribute(attribute, QNetworkRequest::Manual);
    result.setRawHeader("User-Agent", "Quillo/1.6");
    // Left to itself the network layer asks for compressed bodies and then hides their length.
    result.setRawHeader("Accept-Encoding", "identity");
    for (const auto &[name, value] : request.headers)
        result.setRawHeader(name, value);
    return result;
}

QNetworkReply *sendTo(QNetworkAccessManager &network, const URLRequest &request, int timeout)
{
    const QNetworkRequest wire = networkRequest(request, timeout);
    if (request.method == "HEAD")
        return network.head(wire);
    if (request.method == "GET" && request.body.isEmpty())
        return network.get(wire);
    return network.sendCustomRequest(wire, request.method, request.body);
}

URLResponse responseOf(const QNetworkReply &reply)
{
    URLResponse response;
    response.url = reply.url();
    response.statusCode = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    for (const auto &[name, value] : reply.rawHeaderPairs())
        response.headers.insert(name.toLower(), value);
    return response;
}

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

} // namespace

Transfer::Transfer(QNetworkAccessManager &network, int timeout)
    : m_network(network)
    , m_timeout(timeout)
{
}

Transfer::~Transfer()
{
    dropReply();
}

void Transfer::cancel()
{
    end(End::Cancelled, QStringLiteral("Abgebrochen"));
}

void Transfer::send(const URLRequest &request)
{
    if (!isWebAddress(request.url)) {
        end(End::Refused,
            QStringLiteral("Not a web address: %1").arg(request.url.toDisplayString()));
        return;
    }
    m_reply = sendTo(m_network, request, m_timeout);
    m_operation = m_reply->operation();
    m_reply->setReadBufferSize(readBufferSize);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &Transfer::readHeader);
    connect(m_reply, &QNetworkReply::readyRead, this, &Transfer::readBody);
    connect(m_reply, &QNetworkReply::finished, this, &Transfer::replyFinished);
}

void Transfer::end(End how, const QString &error)
{
    if (m_ended)
        return;
    m_ended = true;
    dropReply();
    tell(how, error);
    Q_EMIT ended();
}

void Transfer::readHeader()
{
    if (m_response || !m_reply)
        return;
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool nothingToFollow =
        m_reply->isFinished() && m_reply->error() == QNetworkReply::NoError;
    if (status == 0 || (isRedirect(status) && !nothingToFollow))
        return;
    if (m_reply->operation() != m_operation) {
        end(End::Refused, QStringLiteral("A redirect dropped what was sent"));
        return;
    }
    m_response = responseOf(*m_reply);
    answered(*m_response);
}

void Transfer::readBody()
{
    readHeader();
    std::array<char, blockSize> block;
    while (m_reply && m_response && m_reply->bytesAvailable() > 0) {
        const qint64 size = m_reply->read(block.data(), blockSize);
        if (size <= 0)
            return;
        received(block.data(), size);
    }
}

void Transfer::replyFinished()
{
    readBody();
    if (!m_reply)
        return;
    if (isTransportFailure())
        end(End::Interrupted, failureText());
    else
        finished();
}

/// Answers such as 404 count as errors for the network layer, too.
bool Transfer::isTransportFailure() const
{
    const auto error = m_reply->error();
    if (!m_response || error == QNetworkReply::NoError)
        return !m_response;
    const bool aboutTheAnswer = error >= QNetworkReply::ContentAccessDenied
                                || error == QNetworkReply::ProxyAuthenticationRequiredError;
    return m_response->statusCode < 400 || !aboutTheAnswer;
}

QString Transfer::failureText() const
{
    switch (m_reply->error()) {
    case QNetworkReply::NoError:
        return QStringLiteral("The server gave no answer");
    case QNetworkReply::OperationCanceledError: // nobody else aborts a reply we listen to
        return QStringLiteral("The server was silent for too long");
    default:
        return m_reply->errorString();
    }
}

QString Transfer::statusText() const
{
    const auto reason = m_reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    return QStringLiteral("HTTP %1 %2").arg(m_response->statusCode).arg(reason).trimmed();
}

void Transfer::dropReply()
{
    if (!m_reply)
        return;
    // Deleting ends the request, too; abort() in the middle of an error report warns of a second.
    QNetworkReply *reply = std::exchange(m_reply, nullptr);
    reply->disconnect(this);
    reply->deleteLater();
}
