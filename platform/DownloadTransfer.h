#pragma once

#include "platform/FilePlacement.h"
#include "platform/HttpAnswer.h"
#include "platform/Transfer.h"

class SessionQueue;

/// A transfer to the place of its file.
class DownloadTransfer : public Transfer
{
public:
    /// What all transfers of a session share.
    struct Session
    {
        URLSessionDownloadDelegate *delegate;
        std::shared_ptr<SessionQueue> queue; ///< once it is closed nobody is told anything
        const FileCalls &calls;
    };

    DownloadTransfer(Session session, std::shared_ptr<URLSessionDownloadTask> task);

    [[nodiscard]] bool begin() override;
    [[nodiscard]] bool isCancelled() const override;

protected:
    void answered(const URLResponse &response) override;
    void received(const char *data, qint64 size) override;
    [[nodiscard]] QString objection() const override;
    void ended(End how, const QString &error) override;

private:
    [[nodiscard]] std::shared_ptr<IncomingFile> newFile() const;
    [[nodiscard]] bool isWhole() const;
    [[nodiscard]] qint64 bytes() const;
    [[nodiscard]] qint64 limit() const;
    void continueFile(const URLResponse &response);
    void startFile(const URLResponse &response);
    [[nodiscard]] QString objectionToWhole(const URLResponse &response) const;
    void refuseFor(const FileFailure &failure);
    void reportProgress();
    [[nodiscard]] URLError errorFor(End how, const QString &error) const;
    [[nodiscard]] std::optional<PartialDownload> rest() const;
    template <typename Call>
    void callDelegate(const Call &call);

    const Session m_session;
    const std::shared_ptr<URLSessionDownloadTask> m_task;
    PartialDownload m_partial; ///< what has come so far
    BodyLength m_length;
    FileFailure m_failure;
    qint64 m_unreported = 0; ///< bytes since the last progress
    Clock::time_point m_lastReport = Clock::now();
};
