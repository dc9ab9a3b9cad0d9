#pragma once

#include "platform/DownloadTask.h"
#include "platform/PartialFile.h"
#include "platform/Transfer.h"

#include <QElapsedTimer>

class SessionQueue;

/// A transfer into a temporary file.
class DownloadTransfer : public Transfer
{
public:
    /// What all transfers of a session share.
    struct Session
    {
        URLSessionDownloadDelegate *delegate;
        const SessionQueue &queue; ///< once it is closed nobody is told anything
        PartialFiles &files;
    };

    DownloadTransfer(QNetworkAccessManager &network, int timeout, const Session &session,
                     std::shared_ptr<DownloadTask> task);

    [[nodiscard]] const std::shared_ptr<DownloadTask> &task() const { return m_task; }
    void start() override;

protected:
    void answered(const URLResponse &response) override;
    void received(const char *data, qint64 size) override;
    void finished() override;
    void tell(End how, const QString &error) override;

private:
    [[nodiscard]] bool openFile();
    [[nodiscard]] URLRequest request() const;
    void continueFile(const URLResponse &response);
    void startFile(const URLResponse &response);
    void reportProgress();
    void tellSuccess();
    [[nodiscard]] std::optional<QByteArray> keepForLater();
    template <typename Call>
    void callDelegate(const Call &call);

    const Session m_session;
    const std::shared_ptr<DownloadTask> m_task;
    PartialFile m_file;
    ResumeData m_state;      ///< of what is in the file
    qint64 m_unreported = 0; ///< bytes since the last progress
    QElapsedTimer m_sinceReport;
};
