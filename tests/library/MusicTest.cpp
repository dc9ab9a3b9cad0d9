#include "library/MusicService.h"

#include "tests/library/ContentFixture.h"
#include "tests/support/AudioFiles.h"
#include "tests/support/PenFolder.h"
#include "tests/support/Traces.h"

#include "base/EmptyStateView.h"
#include "library/ColoredTableView.h"
#include "library/MusicController.h"
#include "library/MusicView.h"
#include "platform/FolderVolumes.h"
#include "platform/Workspace.h"

#include <QApplication>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHeaderView>
#include <QScrollBar>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>

#include <filesystem>
#include <sys/stat.h>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

/// A plugged pen, its music folder, and how often a file has been opened.
class MusicTest : public ContentTest
{
protected:
    MusicTest()
    {
        FileManager::setVolumeSource(&volumes);
        pen.write(u"configure/settings.ini"_s, "ImageVersion=1\n");
        service.readAsset = [this](const QString &path) {
            ++opened;
            return AudioAsset::read(path);
        };
    }
    ~MusicTest() override
    {
        gate.release(100); // for what a failed test leaves waiting
        Dispatch::waitForGlobalWork();
        FileManager::setVolumeSource(nullptr);
    }

    void add(const QString &name, const QByteArray &bytes) const
    {
        pen.write(u"mp3/"_s + name, bytes);
    }
    /// The music as it stands, from a reading of its own.
    QStringList listed()
    {
        QStringList lines;
        for (const auto &file : service.getMusicFiles())
            lines += u"%1 %2 %3 %4"_s.arg(file->fileName, file->duration.value_or(u"-"_s),
                                          file->interpret.value_or(u"-"_s),
                                          file->sizeString.value_or(u"-"_s));
        lines.sort();
        return lines;
    }
    void load()
    {
        service.load([this](const MusicList &music) {
            loaded = music;
            ++loads;
        });
    }
    [[nodiscard]] bool loadAll()
    {
        load();
        return QTest::qWaitFor([this, before = loads] { return loads > before; });
    }
    /// From now on every file waits for `gate`, and says so.
    void holdUp()
    {
        service.readAsset = [this](const QString &) {
            ++opened;
            reached.release();
            gate.acquire();
            return AudioAsset();
        };
    }

    [[nodiscard]] bool isReached()
    {
        return QTest::qWaitFor([this] { return reached.tryAcquire(); });
    }

    PenFolder pen;
    FolderVolumes volumes{pen.volumes()};
    MusicService service;
    std::atomic_int opened = 0;
    QSemaphore reached;
    QSemaphore gate;
    MusicList loaded;
    int loads = 0;
};

TEST_F(MusicTest, FilesAreListedByTheirEndingWithWhatTheyTell)
{
    add(u"Lied.MP3"_s, id3v2(3, id3Frame("TPE1", QByteArray("\0Kapelle", 8))) + mpegFrames(2293));
    add(u"song.wav"_s, waveFile(8'000, 8'000 * 61));
    add(u".leise #1%.wAv"_s, waveFile(8, 8 * 3725));
    add(u"text.mp3"_s, "no audio");
    add(u"leer.mp3"_s, {});
    for (const QString &other : {u"cover.jpg"_s, u"notes.mp3.txt"_s, u"xmp3"_s, u"folder.mp3/x"_s})
        add(other, "x");
    std::filesystem::create_symlink("/etc/passwd", pen.path(u"mp3/link.mp3"_s).toStdString());
    ASSERT_EQ(::mkfifo(pen.path(u"mp3/pipe.wav"_s).toUtf8(), 0600), 0);
    EXPECT_EQ(listed(),
              (QStringList{u".leise #1%.wAv 62:05 - 30 kB"_s, u"Lied.MP3 00:59 Kapelle 958 kB"_s,
                           u"leer.mp3 00:00 - 0 Bytes"_s, u"song.wav 01:01 - 488 kB"_s,
                           u"text.mp3 00:00 - 8 Bytes"_s}));
    EXPECT_EQ(opened, 5);
    QStringList names;
    for (const auto &file : service.getMusicFiles())
        names += file->fileName;
    QStringList order;
    for (const auto &entry : std::filesystem::directory_iterator(pen.path(u"mp3"_s).toStdString()))
        order += QString::fromStdString(entry.path().filename());
    order.removeIf([&](const QString &name) { return !names.contains(name); });
    EXPECT_EQ(names, order);
    std::filesystem::remove_all(pen.path(u"mp3"_s).toStdString());
    EXPECT_TRUE(printedBy([&] {
                    EXPECT_EQ(listed(), QStringList());
                }).contains(u"ERROR: "_s + qt_error_string(ENOENT)));
    pen.pullOut();
    EXPECT_EQ(listed(), QStringList());
}

TEST(ByteCounts, AreDecimalInTheLanguageHandedOver)
{
    for (const auto &[bytes, german, english] :
         {std::tuple{999LL, u"999 Bytes"_s, u"999 bytes"_s},
          {1'500LL, u"2 kB"_s, u"2 kB"_s},
          {999'500LL, u"1 MB"_s, u"1 MB"_s},
          {3'250'000LL, u"3,3 MB"_s, u"3.3 MB"_s},
          {4'294'967'296LL, u"4,29 GB"_s, u"4.29 GB"_s},
          {2'000'000'000'000'000LL, u"2.000 TB"_s, u"2,000 TB"_s}}) {
        EXPECT_EQ(ByteCountFormatter(u"de"_s).string(bytes), german);
        EXPECT_EQ(ByteCountFormatter(u"en"_s).string(bytes), english);
    }
}

TEST_F(MusicTest, UnchangedFilesAreOpenedOnceWhileThePenIsThere)
{
    add(u"a.wav"_s, waveFile(8, 80));
    add(u"b.wav"_s, waveFile(8, 80));
    ASSERT_TRUE(loadAll() && loadAll());
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(loaded.value(0)->duration, u"00:10"_s);
    const auto path = std::filesystem::path(pen.path(u"mp3/a.wav"_s).toStdString());
    const auto time = std::filesystem::last_write_time(path);
    add(u"a.wav"_s, waveFile(4, 80)); // of the same size
    std::filesystem::last_write_time(path, time + std::chrono::seconds(2));
    setCurrentLanguage(u"en"_s);
    ASSERT_TRUE(loadAll());
    EXPECT_EQ(opened, 3);
    QStringList told;
    for (const auto &file : loaded)
        told += *file->duration + u' ' + *file->sizeString;
    EXPECT_THAT(told, testing::UnorderedElementsAre(u"00:20 124 bytes"_s, u"00:10 124 bytes"_s));
    service.forgetPen();
    load();
    EXPECT_TRUE(service.isReadingFirst()) << "of the next pen";
    ASSERT_TRUE(loadAll());
    EXPECT_EQ(opened, 5);
}

TEST_F(MusicTest, OneReadingAtATimeAndAStaleOneGivesUpBehindItsFile)
{
    add(u"a.mp3"_s, "a");
    add(u"b.mp3"_s, "b");
    holdUp();
    load();
    EXPECT_TRUE(service.isReadingFirst());
    ASSERT_TRUE(isReached());
    for (int i = 0; i < 8; ++i)
        load();
    EXPECT_EQ(opened, 1);
    gate.release();
    ASSERT_TRUE(isReached());
    EXPECT_EQ(opened, 2) << "the second file, in the second reading: the first file is known";
    gate.release();
    ASSERT_TRUE(QTest::qWaitFor([this] { return loads == 1; }));
    EXPECT_EQ(loaded.size(), 2);
    EXPECT_FALSE(service.isReadingFirst());
    Dispatch::waitForGlobalWork();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(loads, 1);
    load();
    EXPECT_FALSE(service.isReadingFirst()) << "a later one is seen in no view";
}

TEST_F(MusicTest, PullingThePenAndTheEndWaitForOneFile)
{
    for (const QString &name : {u"a.mp3"_s, u"b.mp3"_s, u"c.mp3"_s})
        add(name, "x");
    holdUp();
    load();
    ASSERT_TRUE(isReached());
    bool isReleased = false;
    service.releasePen([&] { isReleased = true; });
    load();
    EXPECT_FALSE(isReleased) << "a file is open";
    gate.release(3);
    ASSERT_TRUE(QTest::qWaitFor([&] { return isReleased; }));
    Dispatch::waitForGlobalWork();
    EXPECT_EQ(opened, 1) << "nothing is read from a pen that is to go";
    gate.acquire(gate.available());
    service.keepPen();
    ASSERT_TRUE(isReached());
    service.forgetPen();
    gate.release();
    Dispatch::waitForGlobalWork();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(loads, 0);
    service.releasePen([&] { isReleased = false; });
    EXPECT_FALSE(isReleased) << "nothing is open";
    service.forgetPen();

    auto ending = std::make_unique<MusicService>();
    ending->readAsset = service.readAsset;
    ending->load([this](const MusicList &) { ++loads; });
    ASSERT_TRUE(isReached());
    ending.reset();
    gate.release();
    Dispatch::waitForGlobalWork();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(opened, 3);
    EXPECT_EQ(loads, 0);
}

/// Three files in a view that is shown.
class MusicViewTest : public MusicTest
{
protected:
    MusicViewTest()
    {
        using File = std::tuple<QString, QString, double, qint64>;
        for (const auto &[name, artist, seconds, bytes] :
             {File{u"Lied 10.mp3"_s, u"b"_s, 100, 9'000},
              File{u"lied 2.mp3"_s, u"a"_s, 6'000, 1'000'000},
              File{u"Ente.mp3"_s, {}, 70, 200'000}}) {
            add(name, "x");
            const QString path = pen.volumePath(u"mp3/"_s + name);
            auto music = std::make_shared<Music>(name, QUrl::fromLocalFile(path));
            music->interpret = artist;
            music->seconds = seconds;
            music->bytes = bytes;
            musicList().append(music);
        }
        view = std::make_unique<MusicView>(main);
        view->resize(800, 300);
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    }

    [[nodiscard]] ColoredTableView &table() const { return *view->list->tableView; }
    [[nodiscard]] QString names() const
    {
        QStringList names;
        for (const auto &file : view->list->musicArray())
            names += file->fileName.chopped(4);
        return names.join(u',');
    }
    void clickTitle(int column) const
    {
        QHeaderView &header = *table().horizontalHeader();
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                          {header.sectionViewportPosition(column) + 20, header.height() / 2});
    }
    /// The name of the file that the system's player has been asked to play.
    template <typename Work>
    [[nodiscard]] QString playedBy(const Work &work) const
    {
        QTextBrowser player; // any object with a slot for an address
        QDesktopServices::setUrlHandler(u"file"_s, &player, "setSource");
        work();
        QDesktopServices::unsetUrlHandler(u"file"_s);
        const QString path = player.source().toLocalFile();
        return path.startsWith(pen.path(u"mp3/"_s)) ? QFileInfo(path).baseName() : path;
    }

    std::unique_ptr<MusicView> view;
};

TEST_F(MusicViewTest, ClickingATitleSortsAndAThirdClickBringsBackTheListing)
{
    const QString listing = u"Lied 10,lied 2,Ente"_s;
    const std::pair<QString, QString> rows[] = {
        {u"Ente,lied 2,Lied 10"_s, u"Lied 10,lied 2,Ente"_s}, // by title
        {u"Ente,Lied 10,lied 2"_s, u"lied 2,Lied 10,Ente"_s},
        {u"Ente,lied 2,Lied 10"_s, u"Lied 10,lied 2,Ente"_s},
        {u"Lied 10,Ente,lied 2"_s, u"lied 2,Ente,Lied 10"_s}};
    int column = MusicTableModel::title;
    for (const auto &[up, down] : rows) {
        EXPECT_EQ(names(), listing);
        clickTitle(column);
        EXPECT_EQ(names(), up) << column;
        clickTitle(MusicTableModel::image);
        EXPECT_EQ(table().horizontalHeader()->sortIndicatorSection(), column);
        EXPECT_EQ(names(), up) << column;
        clickTitle(column);
        EXPECT_EQ(names(), down) << column;
        clickTitle(column++);
    }
    EXPECT_EQ(names(), listing);
}

TEST_F(MusicViewTest, OrderPlaceAndKeyboardStayAlsoInAnotherLanguage)
{
    selectedElementIds() = {u"a title"_s};
    table().selectRow(1);
    EXPECT_TRUE(selectedElementIds().isEmpty());
    clickTitle(MusicTableModel::duration);
    EXPECT_EQ(view->list->selectedRows(), QList<int>{2});
    QSignalSpy resets(table().model(), &QAbstractItemModel::modelReset);
    view->libraryChanged();
    EXPECT_TRUE(resets.isEmpty()) << "of the same files nothing is drawn anew";
    view->resize(800, 150);
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    table().setFocus();
    table().verticalScrollBar()->setValue(30);
    for (const QString &name : {u"Anders.mp3"_s, u"Ganz.mp3"_s}) {
        auto file = std::make_shared<Music>(name, QUrl());
        file->seconds = 5'000;
        musicList().prepend(file);
    }
    const QSignalSpy told(table().model(), &QAbstractItemModel::headerDataChanged);
    setCurrentLanguage(u"en"_s);
    view->languageChanged();
    EXPECT_EQ(told.count(), 1);
    EXPECT_EQ(table().accessibleName(), u"Music"_s);
    view->libraryChanged();
    EXPECT_EQ(table().model()->headerData(4, Qt::Horizontal).toString(), u"Size"_s);
    EXPECT_EQ(names(), u"Ente,Lied 10,Ganz,Anders,lied 2"_s);
    EXPECT_EQ(view->list->selectedRows(), QList<int>{4});
    EXPECT_EQ(table().currentIndex().row(), 4);
    EXPECT_EQ(table().verticalScrollBar()->value(), 30);
    EXPECT_EQ(QApplication::focusWidget(), &table());
}

TEST_F(MusicViewTest, DoubleClickAndReturnPlayTheFile)
{
    clickTitle(MusicTableModel::title);
    const auto doubleClick = [this] {
        const QPoint place = table().visualRect(table().model()->index(0, 3)).center();
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, place);
    };
    EXPECT_EQ(playedBy(doubleClick), u"Ente"_s);
    EXPECT_EQ(playedBy([&] { table().selectRow(2); }), QString());
    table().setCurrentIndex(table().model()->index(2, 1));
    EXPECT_EQ(playedBy([&] { QTest::keyClick(&table(), Qt::Key_Return); }), u"Lied 10"_s);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, {}, true);
    EXPECT_EQ(playedBy([&] { QApplication::sendEvent(&table(), &held); }), QString());
    EXPECT_EQ(main.message, QString());
    pen.remove(u"mp3/Ente.mp3"_s);
    EXPECT_EQ(playedBy(doubleClick), QString());
    EXPECT_TRUE(main.message.startsWith(u"„Ente.mp3“ lässt sich"_s)) << "it has gone";
    std::filesystem::create_symlink("/etc/passwd", pen.path(u"mp3/Ente.mp3"_s).toStdString());
    EXPECT_EQ(playedBy(doubleClick), QString());
    setCurrentLanguage(u"en"_s);
    Workspace::setOpener([](const QUrl &) { return false; });
    QTest::keyClick(&table(), Qt::Key_Down);
    QTest::keyClick(&table(), Qt::Key_Return);
    Workspace::setOpener({});
    EXPECT_TRUE(main.message.startsWith(u"“lied 2.mp3” can’t be played"_s)) << "no player";
}

TEST_F(MusicViewTest, WithoutMusicSaysWhyInTheLanguageShown)
{
    const auto *empty = view->findChild<EmptyStateView *>();
    EXPECT_FALSE(empty->isVisible());
    musicList().clear();
    main.readingMusic = true;
    view->libraryChanged();
    EXPECT_FALSE(view->list->isVisible());
    EXPECT_EQ(empty->accessibleName(), u"Die Musik wird gelesen …"_s);
    main.readingMusic = false;
    view->libraryChanged();
    EXPECT_EQ(empty->accessibleName(), u"Noch keine Musik auf dem Stift"_s);
    setCurrentLanguage(u"en"_s);
    view->languageChanged();
    EXPECT_TRUE(empty->accessibleDescription().contains(u"“mp3”"_s));
    main.penAvailable = false;
    main.readingMusic = true;
    view->libraryChanged();
    EXPECT_EQ(empty->reason(), EmptyStateView::Reason::NoPen);
}

TEST_F(MusicViewTest, ThousandsAreShownWithoutAStutter)
{
    const auto many = [] {
        MusicList files;
        for (int i = 0; i < 5'000; ++i)
            files += std::make_shared<Music>(u"Lied %1.mp3"_s.arg(i * 7919 % 5'000), QUrl());
        return files;
    };
    musicList() = many();
    view->libraryChanged();
    clickTitle(MusicTableModel::size);
    EXPECT_TRUE(view->list->musicArray() == musicList()) << "equal ones as they are listed";
    clickTitle(MusicTableModel::title);
    table().selectAll();
    musicList() = many();
    musicList().first()->seconds = 1;
    QElapsedTimer timer;
    timer.start();
    view->libraryChanged();
    EXPECT_LT(timer.elapsed(), 500) << "not the square of the files";
    EXPECT_EQ(view->list->selectedRows().size(), 5'000);
}

} // namespace
