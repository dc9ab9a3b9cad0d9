#pragma once

#include <QStringList>

#include <stop_token>

/// Sends the pen's usage log to the log server and empties it once the server has accepted it.
class LogPostService
{
public:
    /// Posts what the log holds, if anything. Once `stop` is requested the log is left alone.
    static void postLogFIleMidsToServer(std::stop_token stop = {});

    /// The values of the pen's log, in the order of its lines; empty without log or pen.
    [[nodiscard]] static QStringList getLogMids();

    static void postMids(const QStringList &mids, std::stop_token stop = {});

    /// Overwrites the log with the empty text.
    static void clearLog();
};
