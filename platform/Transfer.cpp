#include "platform/Transfer.h"

#include "platform/HttpAnswer.h"
#include "platform/ProgramVersion.h"

#include <algorithm>
#include <utility>

namespace {

constexpr long receiveBuffer = 512 * 1024;
constexpr int maximumRedirects = 5;

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// These two keep their method only by custom, and not that of a request with a body.
bool repeatsTheRequest(int status)
{
    return status == 307 || status == 308;
}

bool isRepeatable(const URLRequest &request)
{
    return request.method == "GET" || request.method == "HEAD";
}

} // namespace

Transfer::Transfer(URLRequest request)
    : m_request(std::move(request))
{
}

Transfer::~Transfer() = default;

bool Transfer::begin()
{
    m_lastSign = Clock::now();
    if (!isWebAddress(m_request.url)) {
        ended(End::Refused,
              QStringLiteral("Not a web address: %1").arg(m_request.url.toDisplayString()));
        return false;
    }
    setOptions();
    setMethod();
    setHeaders();
    return true;
}

void Transfer::setOptions()
{
    CURL *easy = handle();
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_error);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, headerLine);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, bodyBytes);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, progress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(easy, CURLOPT_URL, m_request.url.toEncoded().constData());
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, receiveBuffer);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L); // a name still being looked up holds nobody
    static const QByteArray userAgent = "Quillo/" + programVersion().toLatin1();
    curl_easy_setopt(easy, CURLOPT_USERAGENT, userAgent.constData());
    // As programs that use the system's TLS library by themselves do.
    if (const QByteArray file = qgetenv("SSL_CERT_FILE"); !file.isEmpty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, file.constData());
    if (const QByteArray folder = qgetenv("SSL_CERT_DIR"); !folder.isEmpty())
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder.constData());
}

void Transfer::setMethod()
{
    CURL *easy = handle();
    if (m_request.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (m_request.method != "GET" || !m_request.body.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, m_request.method.constData());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_request.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, m_request.body.constData());
    }
}

void Transfer::setHeaders()
{
    // No "Expect", for which a server would be waited for before the body.
    QByteArrayList lines = {"Accept-Encoding: identity", "Expect:"};
    for (const auto &[name, value] : std::as_const(m_request.headers))
        lines += name + ": " + value;
    curl_slist *list = nullptr;
    for (const QByteArray &line : std::as_const(lines))
        list = curl_slist_append(list, line.constData());
    m_headers.reset(list);
    curl_easy_setopt(handle(), CURLOPT_HTTPHEADER, list);
}

size_t Transfer::headerLine(char *data, size_t, size_t size, void *transfer)
{
    auto *self = static_cast<Transfer *>(transfer);
    if (self->m_response || self->m_redirect)
        return size; // behind the body
    const QByteArray line = QByteArray(data, static_cast<qsizetype>(size)).trimmed();
    if (line.startsWith("HTTP/"))
        self->readStatusLine(line);
    else if (line.isEmpty())
        self->endHeader();
    else
        self->readHeaderLine(line);
    return self->m_refusal.isNull() ? size : 0;
}

void Transfer::readStatusLine(const QByteArray &line)
{
    m_incoming = URLResponse{m_request.url, line.split(' ').value(1).toInt(), {}};
    m_reason = line.mid(line.indexOf(' ', line.indexOf(' ') + 1));
}

/// A header that comes again is a list; of two lengths that makes a length that is none.
void Transfer::readHeaderLine(const QByteArray &line)
{
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0)
        return;
    const QByteArray name = line.left(colon).trimmed().toLower();
    const QByteArray value = line.mid(colon + 1).trimmed();
    const auto earlier = m_incoming.headers.constFind(name);
    m_incoming.headers.insert(
        name, earlier == m_incoming.headers.constEnd() ? value : *earlier + ", " + value);
}

void Transfer::endHeader()
{
    if (m_incoming.statusCode < 200)
        return; // the answer proper follows
    const QByteArray location = m_incoming.header("location");
    if (isRedirect(m_incoming.statusCode) && !location.isEmpty()) {
        m_redirect = m_request.url.resolved(QUrl::fromEncoded(location));
        return;
    }
    m_response = m_incoming;
    answered(*m_response);
}

size_t Transfer::bodyBytes(char *data, size_t, size_t size, void *transfer)
{
    auto *self = static_cast<Transfer *>(transfer);
    if (self->m_redirect || !self->m_refusal.isNull())
        return 0;
    self->received(data, static_cast<qint64>(size));
    self->m_lastSign = Clock::now();
    return self->m_refusal.isNull() ? size : 0;
}

int Transfer::progress(void *transfer, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent)
{
    auto *self = static_cast<Transfer *>(transfer);
    if (std::exchange(self->m_sent, sent) != sent)
        self->m_lastSign = Clock::now();
    return 0;
}

bool Transfer::followRedirect()
{
    if (!m_redirect)
        return false;
    const QUrl target = *std::exchange(m_redirect, std::nullopt);
    if (const QString objection = objectionToRedirect(target); !objection.isNull()) {
        refuse(objection);
        return false;
    }
    ++m_redirects;
    m_request.url = target;
    curl_easy_setopt(handle(), CURLOPT_URL, target.toEncoded().constData());
    return true;
}

QString Transfer::objectionToRedirect(const QUrl &target) const
{
    if (m_redirects == maximumRedirects)
        return QStringLiteral("Too many redirects");
    if (!isWebAddress(target))
        return QStringLiteral("A redirect leads to no web address");
    if (m_request.url.scheme() == QLatin1String("https")
        && target.scheme() != QLatin1String("https"))
        return QStringLiteral("A redirect leaves the secure connection");
    if (!isRepeatable(m_request) && !repeatsTheRequest(m_incoming.statusCode))
        return QStringLiteral("A redirect dropped what was sent");
    return {};
}

void Transfer::finish(CURLcode code)
{
    if (m_refusal.isNull() && code == CURLE_OK && m_response)
        m_refusal = objection();
    if (!m_refusal.isNull())
        ended(End::Refused, m_refusal);
    else if (code != CURLE_OK)
        ended(End::Interrupted, errorText(code));
    else if (!m_response)
        ended(End::Interrupted, QStringLiteral("The server gave no answer"));
    else
        ended(End::Complete, {});
}

void Transfer::endSilent()
{
    ended(End::Silent, QStringLiteral("The server was silent for too long"));
}

QString Transfer::statusText() const
{
    const QString status = QStringLiteral("HTTP %1").arg(m_incoming.statusCode);
    return (status + u' ' + QString::fromUtf8(m_reason.trimmed())).trimmed();
}

QString Transfer::errorText(CURLcode code) const
{
    return QString::fromUtf8(m_error[0] != 0 ? m_error : curl_easy_strerror(code));
}
