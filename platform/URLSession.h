#pragma once

#include "platform/FilePlacement.h"
#include "platform/URLTypes.h"

#include <chrono>
#include <functional>
#include <memory>

class SessionQueue;

/// HTTP in a thread of its own; callbacks run on that thread, one after another.
///
/// A download that ends with a status other than 2xx or with fewer bytes than announced has failed,
/// and so has a body that is no file: empty (204, too), of a length that is no number from 1 to
/// 2^40, of another size than the expected one, or with an end that nothing tells (neither length
/// nor finished chunks) unless it has the expected size. A failure after some bytes from a server
/// that named a validator (strong ETag or Last-Modified) carries the rest to go on with: asked for
/// with Range and If-Range, continued on 206 with the right Content-Range, started over on 200,
/// failed on anything else; a rest that is whole is not asked for. The bytes go straight to where
/// IncomingFile wants them.
///
/// Sixty seconds without a byte of the body end any task; its header has to be there by then.
/// Redirects are followed up to five times, never from https to http, and never where they would
/// turn a request with a body into another one. Bodies are asked for unencoded ("Accept-Encoding:
/// identity") and never decompressed. A data task's body is bounded at 64 MiB; a longer one is a
/// failure. Proxies are those of the environment, certificates those of the system.
class URLSession
{
public:
    /// The delegate may be absent for a session of data tasks only; it and `calls`, by which files
    /// are written, must outlive the session.
    explicit URLSession(URLSessionDownloadDelegate *delegate = nullptr,
                        const FileCalls &calls = FileCalls::system());
    /// Cancels what is under way without telling anybody, and waits for the thread.
    ~URLSession();
    URLSession(const URLSession &) = delete;
    URLSession &operator=(const URLSession &) = delete;

    /// Sends the request. `completion` runs once on the session's thread, unless the session is
    /// gone before. Any thread.
    void dataTask(const URLRequest &request,
                  std::function<void(const DataTaskResult &result)> completion);

    /// Makes a task; nothing is sent before its resume(). Any thread.
    [[nodiscard]] std::shared_ptr<URLSessionDownloadTask> downloadTask(DownloadRequest request);

    /// Cancels every task that is under way; their failures are told as usual. Any thread.
    void cancelAllTasks();

    /// Runs `work` on the session's thread, behind the callbacks queued there. Any thread.
    void async(std::function<void()> work);

    /// The inactivity time-out; 60 s until a test shortens it. Any thread.
    void setTimeout(std::chrono::milliseconds timeout);

private:
    class Thread;

    const std::shared_ptr<SessionQueue> m_queue;
    const std::unique_ptr<Thread> m_thread;
};
