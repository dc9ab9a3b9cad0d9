#include "platform/DataTransfer.h"

#include "platform/ResumeData.h"

namespace {

constexpr qint64 maximumSize = 64 * 1024 * 1024;

} // namespace

DataTransfer::DataTransfer(QNetworkAccessManager &network, int timeout, URLRequest request,
                           Completion completion)
    : Transfer(network, timeout)
    , m_request(std::move(request))
    , m_completion(std::move(completion))
{
}

/// The length in the header of an answer without a body is that of something else.
bool DataTransfer::hasBody() const
{
    const int status = response()->statusCode;
    return m_request.method != "HEAD" && status != 204 && status != 304;
}

void DataTransfer::answered(const URLResponse &response)
{
    if (hasBody() && announcedLength(response) > maximumSize)
        end(End::Refused, QStringLiteral("The answer is too long"));
}

void DataTransfer::received(const char *data, qint64 size)
{
    if (m_data.size() + size > maximumSize)
        end(End::Refused, QStringLiteral("The answer is too long"));
    else
        m_data.append(data, size);
}

void DataTransfer::finished()
{
    const qint64 announced = hasBody() ? announcedLength(*response()) : -1;
    if (m_data.size() < announced)
        end(End::Interrupted,
            QStringLiteral("%1 of %2 bytes arrived").arg(m_data.size()).arg(announced));
    else
        end(End::Complete);
}

void DataTransfer::tell(End, const QString &error)
{
    m_completion({m_data, response(), error});
}
