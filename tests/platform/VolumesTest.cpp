#include "platform/FolderVolumes.h"
#include "platform/Workspace.h"
#include "tests/platform/VolumeNames.h"
#include "tests/support/PenFolder.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

struct Watched
{
    explicit Watched(const QString &folder)
        : volumes(folder)
        , mounted(&volumes, &VolumeSource::mounted)
        , unmounted(&volumes, &VolumeSource::unmounted)
    {
    }

    FolderVolumes volumes;
    QSignalSpy mounted;
    QSignalSpy unmounted;
};

} // namespace

TEST(FolderVolumes, ListsAndFindsFoldersAndLinksToFoldersByName)
{
    const PenFolder pen;
    const QDir folder(pen.volumes());
    QTemporaryDir elsewhere;
    ASSERT_TRUE(folder.mkdir(u"Ä %20 #1"_s) && folder.mkdir(u".hidden"_s));
    ASSERT_TRUE(QFile::link(elsewhere.path(), folder.filePath(u"LINKED"_s)));
    ASSERT_TRUE(QFile::link(u"/nowhere/at/all"_s, folder.filePath(u"BROKEN"_s)));
    QFile file(folder.filePath(u"file"_s));
    ASSERT_TRUE(file.open(QFile::WriteOnly));

    const FolderVolumes volumes(pen.volumes());
    EXPECT_EQ(namesOf(volumes.volumes()), QStringList({u"LINKED"_s, u"QUILLO"_s, u"Ä %20 #1"_s}));
    EXPECT_EQ(volumes.volumes().at(1).path, pen.root());
    EXPECT_EQ(volumes.volume(u"QUILLO"_s), volumes.volumes().at(1));
    for (const QString &name : {u"quillo"_s, u".hidden"_s, u"file"_s, u"."_s, u".."_s, QString(),
                                u"QUILLO/book"_s, u"QUILLO/"_s})
        EXPECT_FALSE(volumes.volume(name)) << qPrintable(name);
}

TEST(FolderVolumes, TellsOfPlugsAndPullsAndAnotherInThePlaceButNotOfWhatWasThere)
{
    PenFolder pen(u"NO NAME"_s);
    PenFolder other(u"NO NAME"_s, PenFolder::Start::PulledOut);
    Watched watched(pen.volumes());
    const Workspace workspace(watched.volumes);
    const QSignalSpy mounts(&workspace, &Workspace::didMount);
    const QSignalSpy unmounts(&workspace, &Workspace::didUnmount);
    pen.pullOut();
    ASSERT_TRUE(watched.unmounted.wait());
    EXPECT_TRUE(watched.volumes.volumes().isEmpty());
    pen.plugIn();
    EXPECT_EQ(namesOf(watched.volumes.volumes()), QStringList(u"NO NAME"_s));
    ASSERT_TRUE(watched.mounted.wait());
    pen.pullOut();
    ASSERT_TRUE(QDir().rename(other.root(), pen.volumes() + u"/NO NAME"_s));
    ASSERT_TRUE(watched.mounted.wait());
    for (const QSignalSpy *spy : {&watched.mounted, &watched.unmounted})
        EXPECT_EQ(told(*spy), QStringList({u"NO NAME"_s, u"NO NAME"_s}));
    const QVariantMap expected = {{u"NSWorkspaceVolumeLocalizedNameKey"_s, u"NO NAME"_s}};
    for (const QSignalSpy *spy : {&mounts, &unmounts})
        EXPECT_EQ(spy->value(0).value(0).toMap(), expected);
}

TEST(FolderVolumes, TellsOfASmallPenThatIsCopiedIntoPlaceOnceItIsWhole)
{
    PenFolder pen(u"QUILLO"_s, PenFolder::Start::PulledOut);
    PenFolder passing(u"PASSING"_s, PenFolder::Start::PulledOut);
    Watched watched(pen.volumes());
    ASSERT_TRUE(QDir().rename(passing.root(), pen.volumes() + u"/PASSING"_s));
    pen.plugIn();
    QTimer::singleShot(50, &watched.volumes, [&] {
        pen.write(u"last"_s, "x");
        QDir(pen.volumes() + u"/PASSING"_s).removeRecursively();
    });
    ASSERT_TRUE(watched.mounted.wait());
    EXPECT_TRUE(pen.exists(u"last"_s));
    EXPECT_EQ(told(watched.mounted), QStringList(u"QUILLO"_s));
    EXPECT_TRUE(watched.unmounted.isEmpty());
}

TEST(FolderVolumes, WaitsForAVolumesFolderThatIsMissing)
{
    QTemporaryDir directory;
    const QString folder = directory.filePath(u"not/there/yet"_s);
    Watched watched(folder);
    EXPECT_TRUE(watched.volumes.volumes().isEmpty());
    ASSERT_TRUE(QDir().mkpath(directory.filePath(u"not"_s)));
    QCoreApplication::processEvents();
    ASSERT_TRUE(QDir().mkpath(folder + u"/QUILLO"_s));
    ASSERT_TRUE(watched.mounted.wait());

    ASSERT_TRUE(QDir(folder).removeRecursively());
    ASSERT_TRUE(watched.unmounted.wait());
    ASSERT_TRUE(QDir().mkpath(folder + u"/NO NAME"_s));
    ASSERT_TRUE(watched.mounted.wait());
    EXPECT_EQ(told(watched.mounted), QStringList({u"QUILLO"_s, u"NO NAME"_s}));
}

TEST(FolderVolumes, HidesAnUnmountedVolumeUntilItHasGoneAndComeBack)
{
    PenFolder pen;
    Watched watched(pen.volumes());
    QStringList errors;
    const auto note = [&](const QString &error) {
        errors.append(error);
    };
    watched.volumes.unmount(watched.volumes.volumes().constFirst(), note);
    EXPECT_TRUE(watched.volumes.volumes().isEmpty());
    EXPECT_FALSE(watched.volumes.volume(u"QUILLO"_s));
    watched.volumes.unmount({u"NONE"_s, u"/none"_s}, note);
    EXPECT_TRUE(errors.isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return errors.size() == 2; }));
    EXPECT_EQ(errors, QStringList({QString(), qt_error_string(ENOENT)}));
    EXPECT_EQ(told(watched.unmounted), QStringList(u"QUILLO"_s));

    ASSERT_TRUE(QDir(pen.volumes()).mkdir(u"STICK"_s)); // a look around does not bring it back
    ASSERT_TRUE(watched.mounted.wait());
    EXPECT_EQ(namesOf(watched.volumes.volumes()), QStringList(u"STICK"_s));

    pen.pullOut();
    ASSERT_TRUE(QDir(pen.volumes()).mkdir(u"TICK"_s));
    ASSERT_TRUE(watched.mounted.wait());
    pen.plugIn();
    ASSERT_TRUE(watched.mounted.wait());
    const QStringList asTheyCame = {u"STICK"_s, u"TICK"_s, u"QUILLO"_s};
    EXPECT_EQ(told(watched.mounted), asTheyCame);
    EXPECT_EQ(namesOf(watched.volumes.volumes()), asTheyCame);
    EXPECT_EQ(told(watched.unmounted), QStringList(u"QUILLO"_s));
    EXPECT_TRUE(watched.volumes.volume(u"QUILLO"_s));
}

TEST(FolderVolumes, IsReadFromOtherThreadsWhileVolumesComeAndGo)
{
    const PenFolder pen;
    Watched watched(pen.volumes());
    std::atomic<int> wrong = 0;
    {
        const std::jthread reader([&](const std::stop_token &stop) {
            while (!stop.stop_requested())
                wrong += watched.volumes.volumes().size() > 2 ? 1 : 0;
        });
        for (const QString &name : {u"TICK"_s, u"TACK"_s, u"TOCK"_s}) {
            const QString folder = pen.volumes() + u'/' + name;
            ASSERT_TRUE(QDir().mkdir(folder) && watched.mounted.wait());
            watched.volumes.unmount({name, folder}, [](const QString &) {});
            ASSERT_TRUE(watched.unmounted.wait());
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(Workspace, UnmountsTheVolumeOfAnAddress)
{
    const PenFolder pen(u"Stift ü 100% #1"_s);
    FolderVolumes volumes(pen.volumes());
    Workspace workspace(volumes);
    const auto error = [&workspace](const QString &address) {
        std::optional<QString> told;
        workspace.unmountVolume(QUrl(address), [&](const QString &text) { told = text; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return told.has_value(); }));
        return told.value_or(QString());
    };
    for (const QString &address :
         {u"file:///Volumes/stift%20%C3%BC%20100%25%20%231/"_s,
          u"file:///Volumes/Stift%20%C3%BC%20100%25%20%231/book/"_s, u"file:///tmp/"_s, u""_s})
        EXPECT_NE(error(address), QString()) << qPrintable(address);
    EXPECT_EQ(volumes.volumes().size(), 1);
    EXPECT_EQ(error(u"file:///Volumes/Stift%20%C3%BC%20100%25%20%231"_s), QString());
    EXPECT_TRUE(volumes.volumes().isEmpty());
}

TEST(Workspace, OpensAddressesWithTheDesktop)
{
    QTextBrowser browser; // any object with a slot for an address
    QDesktopServices::setUrlHandler(u"https"_s, &browser, "setSource");
    const QUrl address(u"https://shop.example/?q=a%20b#c"_s);
    EXPECT_TRUE(Workspace::open(address));
    QDesktopServices::unsetUrlHandler(u"https"_s);
    EXPECT_EQ(browser.source(), address);
}
