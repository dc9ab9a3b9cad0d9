#pragma once

#include "platform/Transfer.h"

#include <functional>

/// A transfer into memory.
class DataTransfer : public Transfer
{
public:
    using Completion = std::function<void(const DataTaskResult &result)>;

    DataTransfer(URLRequest request, Completion completion);

protected:
    void answered(const URLResponse &response) override;
    void received(const char *data, qint64 size) override;
    [[nodiscard]] QString objection() const override { return {}; }
    void ended(End how, const QString &error) override;

private:
    const Completion m_completion;
    QByteArray m_data;
};
