#include "demo/DemoOutput.h"

#include "platform/StandardOutput.h"

#include <QDir>

#include <cstdio>

using namespace Qt::StringLiterals;

bool keepProgramOutput(const QString &folder)
{
    const QString file = QDir(folder).absoluteFilePath(u"program-output.txt"_s);
    if (!QDir().mkpath(folder) || !printTo(file))
        return false;
    tell(u"What the program prints: "_s + file);
    return true;
}

void tell(const QString &line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

void tellSome(const QStringList &lines, qsizetype most)
{
    for (const QString &line : lines.first(std::min(most, lines.size())))
        tell(u"  "_s + line);
    if (lines.size() > most)
        tell(u"  and %1 more"_s.arg(lines.size() - most));
}
