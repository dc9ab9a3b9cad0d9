#pragma once

#include <QString>
#include <QStringList>

// What the demo itself says on standard output. What the program within it prints goes to a file:
// it is a trace of a thousand lines and more.

/// Sends the program's lines to a file in the folder, which is made when it is missing, and tells
/// which file it is; false when that is not possible. Before the application object is made.
[[nodiscard]] bool keepProgramOutput(const QString &folder);

/// A line.
void tell(const QString &line);

/// The lines, indented; of many the first, and how many more there are.
void tellSome(const QStringList &lines, qsizetype most);
