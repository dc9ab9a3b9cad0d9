#include "app/CommandLine.h"

#include "platform/FolderVolumes.h"
#include "platform/SystemVolumes.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

TEST(CommandLine, StopsWithCodeAndText)
{
    struct Row
    {
        const char *name;
        QStringList arguments;
        int exitCode;
        QString text;
    };
    forEachRow<Row>(
        {{"help", {u"--help"_s}, 0, u"--volumes <DIR>"_s},
         {"version", {u"--version"_s}, 0, u"quillo 1.6"_s},
         {"unknownOption", {u"--colour"_s}, 2, u"colour"_s},
         {"helpGoesBeforeMistakes", {u"--colour"_s, u"--help"_s}, 0, u"--config"_s},
         {"volumesWithoutValue", {u"--volumes"_s}, 2, u"volumes"_s},
         {"volumesMissing", {u"--volumes"_s, u"/no/such/place"_s}, 2, u"/no/such/place"_s},
         {"volumesIsFile", {u"--volumes"_s, u"/etc/passwd"_s}, 2, u"no folder"_s},
         {"stray", {u"pen"_s}, 2, u"'pen'"_s}},
        [](const Row &row) {
            CommandLine commandLine(u"About."_s);
            const auto stop = commandLine.parse(QStringList{u"/usr/bin/quillo"_s} + row.arguments);
            ASSERT_TRUE(stop);
            EXPECT_EQ(stop->exitCode, row.exitCode);
            EXPECT_TRUE(stop->text.contains(row.text)) << stop->text.toStdString();
            EXPECT_TRUE(stop->text.endsWith(u'\n'));
        });
}

TEST(CommandLine, TakesItsOwnOptionsAndLeavesTheToolkitsToIt)
{
    QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"QUILLO"_s));
    CommandLine commandLine(u"About."_s);
    commandLine.addOption({u"seed"_s, u"Seed."_s, u"N"_s});
    commandLine.addOption({u"headless"_s, u"No display."_s});
    EXPECT_FALSE(
        commandLine.parse({u"quillo"_s, u"-platform"_s, u"offscreen"_s, u"--volumes"_s,
                           folder.path(), u"--config=/etc/passwd"_s, u"--seed"_s, u"7"_s}));
    EXPECT_EQ(commandLine.configurationFile(), u"/etc/passwd"_s);
    EXPECT_EQ(commandLine.value(u"seed"_s), u"7"_s);
    EXPECT_FALSE(commandLine.isSet(u"headless"_s));
    const auto volumes = commandLine.makeVolumes();
    ASSERT_EQ(volumes->volumes().size(), 1);
    EXPECT_EQ(volumes->volumes().constFirst().name, u"QUILLO"_s);

    CommandLine plain(u"About."_s);
    ASSERT_FALSE(plain.parse({u"quillo"_s}));
    EXPECT_NE(qobject_cast<SystemVolumes *>(plain.makeVolumes().get()), nullptr);
}

} // namespace
