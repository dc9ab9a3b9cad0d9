#pragma once

#include "platform/URLTypes.h"

#include <QObject>

#include <functional>
#include <memory>

class SessionQueue;

/// HTTP in a thread of its own; callbacks run on that thread, one after another.
///
/// A download that ends with a status other than 2xx or with fewer bytes than announced has failed.
/// A failure after some bytes from a server that named a validator (strong ETag or Last-Modified)
/// carries resume data; resuming asks with Range and If-Range, continues on 206 with the right
/// Content-Range, starts over on 200 and fails on anything else. Sixty seconds without a byte end
/// any task. Redirects are followed up to five times, never from https to http. Bodies are asked
/// for unencoded ("Accept-Encoding: identity") and never decompressed. A data task's body is
/// bounded at 64 MiB; a longer one is a failure.
class URLSession : public QObject
{
    Q_OBJECT

public:
    /// The delegate may be absent for a session of data tasks only; it must outlive the session.
    explicit URLSession(URLSessionDownloadDelegate *delegate = nullptr);
    /// Cancels what is under way without telling anybody, and waits for the thread.
    ~URLSession() override;

    /// Sends the request. `completion` runs once on the session's thread, unless the session is
    /// gone before. Any thread.
    void dataTask(const URLRequest &request,
                  std::function<void(const DataTaskResult &result)> completion);

    /// Makes a task; nothing is sent before its resume(). Any thread.
    [[nodiscard]] std::shared_ptr<URLSessionDownloadTask> downloadTask(const QUrl &url);
    [[nodiscard]] std::shared_ptr<URLSessionDownloadTask>
    downloadTask(const QByteArray &resumeData);

    /// Cancels every task that is under way; their failures are told as usual. Any thread.
    void cancelAllTasks();

    /// Runs `work` on the session's thread, behind the callbacks queued there. Any thread.
    void async(std::function<void()> work);

    /// The inactivity time-out; 60,000 until a test shortens it. Before the first task only.
    void setTimeout(int milliseconds);

private:
    class Thread;

    std::shared_ptr<SessionQueue> m_queue;
    std::unique_ptr<Thread> m_thread;
};
