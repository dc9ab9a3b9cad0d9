#include "platform/DataTransfer.h"

#include "platform/HttpAnswer.h"

namespace {

constexpr qint64 maximumSize = 64 * 1024 * 1024;

} // namespace

DataTransfer::DataTransfer(URLRequest request, Completion completion)
    : Transfer(std::move(request))
    , m_completion(std::move(completion))
{
}

void DataTransfer::answered(const URLResponse &response)
{
    if (request().method == "HEAD")
        return; // the length is that of something else
    const BodyLength length = BodyLength::of(response);
    if (length.told == BodyLength::Told::ByNonsense)
        refuse(QStringLiteral("The answer's length is none"));
    else if (length.bytes > maximumSize)
        refuse(QStringLiteral("The answer is too long"));
}

void DataTransfer::received(const char *data, qint64 size)
{
    if (m_data.size() + size > maximumSize)
        refuse(QStringLiteral("The answer is too long"));
    else
        m_data.append(data, size);
}

void DataTransfer::ended(End how, const QString &error)
{
    const auto told = response() ? BodyLength::of(*response()).told : BodyLength::Told::Not;
    m_completion({m_data, response(), error, how == End::Silent, told != BodyLength::Told::Not});
}
