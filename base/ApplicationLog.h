#pragma once

#include <QString>

/// The program's diagnostic trace: appends `line`, a blank and a line feed to "log.txt" in the
/// user's documents folder and prints "FilePath: " and the file's path on standard output.
/// Synchronous, serialised by one mutex, any thread. Failures are printed and swallowed.
void writeLog(const QString &line);

/// While one lives, the entries of its thread are gathered and written in blocks of some kilobytes,
/// the last one at its end: for an operation that writes thousands in one go. They come in the same
/// order and with the same lines on standard output. May be nested.
class LogBatch
{
public:
    LogBatch();
    ~LogBatch();
    LogBatch(const LogBatch &) = delete;
    LogBatch &operator=(const LogBatch &) = delete;
};
