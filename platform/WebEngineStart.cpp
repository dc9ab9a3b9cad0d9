#include "platform/WebEngineStart.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QStringList>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

/// A child of ours tries what the engine's sandbox does first. All at once, as some systems allow
/// the user namespace and nothing in it.
bool canLeaveNamespaces()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET) == 0 ? 0 : 1);
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Where the engine looks for it.
QString findProcessProgram()
{
    QStringList places{qEnvironmentVariable("QTWEBENGINEPROCESS_PATH")};
    if (places.first().isEmpty()) {
        const QString name = u"/QtWebEngineProcess"_s;
        places = {QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath) + name,
                  QCoreApplication::applicationDirPath() + name};
    }
    for (const QString &place : places) {
        const QFileInfo program(place);
        if (program.isFile() && program.isExecutable())
            return place;
    }
    return {};
}

} // namespace

WebEngineSurroundings WebEngineSurroundings::current()
{
    return {.root = geteuid() == 0,
            .sandboxOff = qEnvironmentVariableIntValue("QTWEBENGINE_DISABLE_SANDBOX") == 1,
            .sandboxPossible = canLeaveNamespaces,
            .processProgram = findProcessProgram()};
}

std::optional<QString> webEngineObstacle(const WebEngineSurroundings &here)
{
    if (here.processProgram.isEmpty())
        return u"its process program is missing"_s;
    if (here.sandboxOff)
        return std::nullopt;
    if (here.root)
        return u"there is no sandbox for the administrator"_s;
    if (!here.sandboxPossible())
        return u"the system allows no sandbox"_s;
    return std::nullopt;
}
