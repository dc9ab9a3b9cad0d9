#pragma once

#include <QByteArray>
#include <QString>

/// The program's lines on standard output. Any thread; lines never interleave.

/// Writes them to this file instead, which is made anew, from now on; false and without effect when
/// that is not possible. Before there is a second thread.
[[nodiscard]] bool printTo(const QString &file);

/// A plain line.
void print(const QString &line);

/// Text in UTF-8 as it is: lines bring their line feeds.
void printText(const QByteArray &text);

/// A line of the debug log: the text in double quotes, with quotes, backslashes and control
/// characters escaped.
void debugPrint(const QString &line);

/// The debug form of a text, as debugPrint() shows it.
[[nodiscard]] QString debugDescription(const QString &text);

/// The standard text form of a list of texts: square brackets, entries in debug form, ", " between.
[[nodiscard]] QString debugDescription(const QStringList &texts);
