#pragma once

#include "platform/Transfer.h"

/// A transfer into memory.
class DataTransfer : public Transfer
{
public:
    using Completion = std::function<void(const DataTaskResult &result)>;

    DataTransfer(QNetworkAccessManager &network, int timeout, URLRequest request,
                 Completion completion);

    void start() override { send(m_request); }

protected:
    void answered(const URLResponse &response) override;
    void received(const char *data, qint64 size) override;
    void finished() override;
    void tell(End how, const QString &error) override;

private:
    [[nodiscard]] bool hasBody() const;

    const URLRequest m_request;
    const Completion m_completion;
    QByteArray m_data;
};
