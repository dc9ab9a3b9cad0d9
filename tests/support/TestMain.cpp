#include <QApplication>
#include <QTemporaryDir>

#include <csignal>

#include <gtest/gtest.h>

// Every test runs with a home folder of its own, so that logs and settings never reach the user's.
int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    testing::InitGoogleTest(&argc, argv);
    QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(name, home.path().toUtf8());
    qputenv("no_proxy", "127.0.0.1"); // where the tests have their servers
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillo"));
    return RUN_ALL_TESTS();
}
