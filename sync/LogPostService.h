#pragma once

#include <QStringList>

#include <stop_token>

/// Sends the pen's usage log to the log server and empties it once the server has accepted it.
class LogPostService
{
public:
    /// Posts what the log holds, if anything. A log that has changed meanwhile stays, to be sent as
    /// a whole the next time; once `stop` is requested it is left alone.
    static void postLogFIleMidsToServer(std::stop_token stop = {});

    /// The values of the pen's log, in the order of its lines; empty without log or pen.
    [[nodiscard]] static QStringList getLogMids();

private:
    struct UsageLog
    {
        QString text; ///< as the pen wrote it
        QStringList mids;
    };

    [[nodiscard]] static UsageLog readLog();
    static void postMids(const UsageLog &log, std::stop_token stop);
    static void clearLog(const QString &sent);
};
