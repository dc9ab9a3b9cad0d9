#include "platform/DownloadTransfer.h"

#include "platform/SessionQueue.h"

namespace {

constexpr qint64 reportBytes = 1024 * 1024;
constexpr qint64 reportMilliseconds = 100;

} // namespace

DownloadTransfer::DownloadTransfer(QNetworkAccessManager &network, int timeout,
                                   const Session &session, std::shared_ptr<DownloadTask> task)
    : Transfer(network, timeout)
    , m_session(session)
    , m_task(std::move(task))
{
    m_state.url = m_task->originalUrl();
}

void DownloadTransfer::start()
{
    m_task->state = DownloadTask::State::Running;
    m_sinceReport.start();
    if (m_task->originalUrl().isEmpty())
        end(End::Refused, QStringLiteral("The resume data is unusable"));
    else if (!openFile())
        end(End::Refused, m_file.error());
    else
        send(request());
}

bool DownloadTransfer::openFile()
{
    const auto &earlier = m_task->resumeData();
    if (earlier && m_session.files.take(earlier->file)
        && m_file.reopen(earlier->file, earlier->bytes)) {
        m_state = *earlier;
        return true;
    }
    if (!m_file.create())
        return false;
    m_state.file = m_file.path();
    return true;
}

URLRequest DownloadTransfer::request() const
{
    URLRequest request;
    request.url = m_state.url;
    if (m_state.bytes > 0)
        request.headers = {{"Range", "bytes=" + QByteArray::number(m_state.bytes) + '-'},
                           {"If-Range", m_state.validator}};
    return request;
}

void DownloadTransfer::answered(const URLResponse &response)
{
    m_task->setResponse(response);
    const bool asksForPart = m_state.bytes > 0;
    if (asksForPart && response.statusCode == 206)
        continueFile(response);
    else if (response.statusCode == 200 || (!asksForPart && response.isSuccess()))
        startFile(response);
    else
        end(End::Refused, statusText());
}

void DownloadTransfer::continueFile(const URLResponse &response)
{
    const QString objection = m_state.objectionTo(response);
    if (!objection.isEmpty()) {
        end(End::Refused, objection);
        return;
    }
    const qint64 total = ContentRange::parse(response.header("content-range"))->total;
    if (total >= 0)
        m_state.total = total;
}

void DownloadTransfer::startFile(const URLResponse &response)
{
    if (response.statusCode == 206) {
        end(End::Refused, QStringLiteral("A part came where the whole was asked for"));
        return;
    }
    m_state.bytes = 0;
    m_state.total = announcedLength(response);
    m_state.validator = validatorOf(response);
    if (!m_file.restart())
        end(End::Refused, m_file.error());
}

void DownloadTransfer::received(const char *data, qint64 size)
{
    if (!m_file.write(data, size)) {
        end(End::Refused, m_file.error());
        return;
    }
    m_state.bytes += size;
    m_unreported += size;
    if (m_unreported >= reportBytes || m_sinceReport.hasExpired(reportMilliseconds))
        reportProgress();
}

void DownloadTransfer::reportProgress()
{
    if (m_unreported == 0)
        return;
    const qint64 written = std::exchange(m_unreported, 0);
    m_sinceReport.restart();
    callDelegate([&](auto &delegate) {
        delegate.didWriteData(m_task, written, m_state.bytes, m_state.total);
    });
}

void DownloadTransfer::finished()
{
    if (m_state.total >= 0 && m_state.bytes != m_state.total)
        end(End::Interrupted,
            QStringLiteral("%1 of %2 bytes arrived").arg(m_state.bytes).arg(m_state.total));
    else
        end(End::Complete);
}

void DownloadTransfer::tell(End how, const QString &error)
{
    m_task->state = DownloadTask::State::Ended;
    std::optional<URLError> failure;
    if (how == End::Complete)
        tellSuccess();
    else {
        reportProgress();
        failure = URLError{error, how == End::Interrupted ? keepForLater() : std::nullopt};
        m_file.remove();
    }
    callDelegate([&](auto &delegate) { delegate.didFinishCollectingMetrics(m_task); });
    callDelegate([&](auto &delegate) { delegate.didComplete(m_task, failure); });
}

void DownloadTransfer::tellSuccess()
{
    reportProgress();
    m_file.close();
    callDelegate([&](auto &delegate) { delegate.didFinishDownloading(m_task, m_file.path()); });
    m_file.remove();
}

std::optional<QByteArray> DownloadTransfer::keepForLater()
{
    if (m_state.bytes == 0 || m_state.validator.isEmpty())
        return std::nullopt;
    m_session.files.add(m_state.file);
    m_file.keep();
    return m_state.serialized();
}

template <typename Call>
void DownloadTransfer::callDelegate(const Call &call)
{
    if (m_session.delegate && !m_session.queue.isClosed())
        call(*m_session.delegate);
}
