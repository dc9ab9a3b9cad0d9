#pragma once

#include <QString>

/// The program's diagnostic trace: appends `line`, a blank and a line feed to "log.txt" in the
/// user's documents folder and prints "FilePath: " and the file's path on standard output.
/// Synchronous, serialised by one mutex, any thread. Failures are printed and swallowed.
void writeLog(const QString &line);
