#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

// Some figures need a process of their own: this program runs itself anew with a hidden argument
// and reads what the child tells.

inline constexpr const char *childArgument = "--child";

/// What the child of that name told, by name. Ends the program when the child fails.
[[nodiscard]] QHash<QString, double> runChild(const QString &name, const QStringList &arguments);
/// The medians of what `rounds` children told one after another.
[[nodiscard]] QHash<QString, double> runChildren(int rounds, const QString &name,
                                                 const QStringList &arguments);

/// What runChild() was given.
[[nodiscard]] QString childArgumentAt(char **argv, int index);
/// In the child, once and first: keeps standard output for tell() alone.
void openResults();
void tell(const QString &name, double value);

/// Milliseconds on a clock that parent and child share.
[[nodiscard]] double now();

// The children return an exit code.
int startChild(int argc, char **argv);
int updateRunChild(int argc, char **argv);
int coversChild(int argc, char **argv);
int viewsChild(int argc, char **argv);
int musicChild(int argc, char **argv);
int videosChild(int argc, char **argv);
int memoryChild(int argc, char **argv);
