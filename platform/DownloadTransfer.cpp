#include "platform/DownloadTransfer.h"

#include "platform/IncomingFile.h"
#include "platform/SessionQueue.h"

#include <utility>

namespace {

constexpr qint64 reportBytes = 1024 * 1024;
constexpr std::chrono::milliseconds reportInterval(100);

} // namespace

DownloadTransfer::DownloadTransfer(Session session, std::shared_ptr<URLSessionDownloadTask> task)
    : Transfer({task->originalUrl(), "GET", {}, {}})
    , m_session(std::move(session))
    , m_task(std::move(task))
    , m_partial(m_task->request().rest.value_or(PartialDownload()))
{
    if (!m_partial.file)
        m_partial.file = newFile();
}

/// Removing what is on a slow or dead medium is for the session's thread, whoever lets go last;
/// once the session has ended, theirs.
std::shared_ptr<IncomingFile> DownloadTransfer::newFile() const
{
    auto *file = new IncomingFile(m_task->request().target, m_session.calls);
    return {file, [queue = m_session.queue](IncomingFile *unused) {
                queue->post([owned = std::shared_ptr<IncomingFile>(unused)](SessionLoop &) {});
            }};
}

qint64 DownloadTransfer::bytes() const
{
    return m_partial.file->size();
}

bool DownloadTransfer::isWhole() const
{
    return bytes() > 0 && bytes() == m_partial.total;
}

bool DownloadTransfer::isCancelled() const
{
    return m_task->stopToken().stop_requested();
}

bool DownloadTransfer::begin()
{
    if (isCancelled()) {
        endCancelled();
        return false;
    }
    if (isWhole()) {
        m_unreported = bytes();
        ended(End::Complete, {});
        return false;
    }
    if (bytes() > 0)
        request().headers = {{"Range", "bytes=" + QByteArray::number(bytes()) + '-'},
                             {"If-Range", m_partial.validator}};
    return Transfer::begin();
}

void DownloadTransfer::answered(const URLResponse &response)
{
    m_task->setResponse(response);
    m_length = BodyLength::of(response);
    const bool asksForPart = bytes() > 0;
    if (asksForPart && response.statusCode == 206)
        continueFile(response);
    else if (response.statusCode == 200 || (!asksForPart && response.isSuccess()))
        startFile(response);
    else
        refuse(statusText());
}

void DownloadTransfer::continueFile(const URLResponse &response)
{
    const QString objection =
        objectionToPart(response, m_partial.validator, bytes(), m_partial.total);
    if (!objection.isEmpty())
        return refuse(objection);
    const qint64 total = ContentRange::parse(response.header("content-range"))->total;
    if (total >= 0)
        m_partial.total = total;
}

void DownloadTransfer::startFile(const URLResponse &response)
{
    if (const QString objection = objectionToWhole(response); !objection.isEmpty())
        return refuse(objection);
    m_partial.total = m_length.bytes;
    m_partial.validator = validatorOf(response);
    const qint64 size = m_length.bytes >= 0 ? m_length.bytes : m_task->request().expectedSize;
    if (const FileFailure failure = m_partial.file->begin(size))
        refuseFor(failure);
}

QString DownloadTransfer::objectionToWhole(const URLResponse &response) const
{
    const qint64 expected = m_task->request().expectedSize;
    if (response.statusCode == 206)
        return QStringLiteral("A part came where the whole was asked for");
    if (m_length.told == BodyLength::Told::ByNonsense)
        return QStringLiteral("The file's length is none");
    if (m_length.bytes == 0)
        return QStringLiteral("The file is empty");
    if (expected >= 0 && m_length.bytes >= 0 && m_length.bytes != expected)
        return QStringLiteral("The file has %1 bytes instead of %2")
            .arg(m_length.bytes)
            .arg(expected);
    return {};
}

/// No more than the file has is ever written; a server may not know an end.
qint64 DownloadTransfer::limit() const
{
    const qint64 expected = m_task->request().expectedSize;
    if (expected >= 0)
        return expected;
    return m_partial.total >= 0 ? m_partial.total : largestFile;
}

void DownloadTransfer::received(const char *data, qint64 size)
{
    if (bytes() + size > limit())
        return refuse(QStringLiteral("The file has more than %1 bytes").arg(limit()));
    if (const FileFailure failure = m_partial.file->append(data, size))
        return refuseFor(failure);
    m_unreported += size;
    if (m_unreported >= reportBytes || Clock::now() - m_lastReport >= reportInterval)
        reportProgress();
}

void DownloadTransfer::refuseFor(const FileFailure &failure)
{
    m_failure = failure;
    refuse(failure.text);
}

/// The body has come as far as its header told; whether that is a file is another question.
QString DownloadTransfer::objection() const
{
    const qint64 expected = m_task->request().expectedSize;
    if (bytes() < m_partial.total)
        return {}; // can be gone on with
    if (bytes() == 0)
        return QStringLiteral("The file is empty");
    if (m_length.told == BodyLength::Told::Not && expected < 0)
        return QStringLiteral("Nothing tells where the file ends");
    if (expected >= 0 && bytes() != expected)
        return QStringLiteral("The file has %1 bytes instead of %2").arg(bytes()).arg(expected);
    return {};
}

void DownloadTransfer::reportProgress()
{
    if (m_unreported == 0)
        return;
    const qint64 written = std::exchange(m_unreported, 0);
    m_lastReport = Clock::now();
    callDelegate(
        [&](auto &delegate) { delegate.didWriteData(m_task, written, bytes(), m_partial.total); });
}

void DownloadTransfer::ended(End how, const QString &error)
{
    // A part of the part is an interruption that looks like an end.
    if (how == End::Complete && m_partial.total >= 0 && bytes() != m_partial.total)
        return ended(End::Interrupted,
                     QStringLiteral("%1 of %2 bytes arrived").arg(bytes()).arg(m_partial.total));
    reportProgress();
    std::optional<URLError> failure;
    if (how == End::Complete)
        callDelegate(
            [this](auto &delegate) { delegate.didFinishDownloading(m_task, m_partial.file); });
    else
        failure = errorFor(how, error);
    const bool isKept = how == End::Cancelled && m_partial.file->isOnComputer() && isWhole();
    const bool isUseless = failure ? !failure->rest && !isKept : m_partial.file.use_count() == 1;
    if (isUseless)
        m_partial.file->discard();
    callDelegate([this](auto &delegate) { delegate.didFinishCollectingMetrics(m_task); });
    callDelegate([&](auto &delegate) { delegate.didComplete(m_task, failure); });
}

URLError DownloadTransfer::errorFor(End how, const QString &error) const
{
    if (how == End::Cancelled)
        return {URLError::Kind::Cancelled, error};
    if (m_failure)
        return {URLError::Kind::File, error, m_failure};
    const bool isGood = how == End::Interrupted || how == End::Silent;
    return {URLError::Kind::Transfer, error, {}, isGood ? rest() : std::nullopt};
}

std::optional<PartialDownload> DownloadTransfer::rest() const
{
    const bool canGoOn = bytes() > 0 && !m_partial.validator.isEmpty();
    return canGoOn ? std::optional(m_partial) : std::nullopt;
}

template <typename Call>
void DownloadTransfer::callDelegate(const Call &call)
{
    if (m_session.delegate && !m_session.queue->isClosed())
        call(*m_session.delegate);
}
