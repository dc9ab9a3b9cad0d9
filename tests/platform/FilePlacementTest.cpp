#include "platform/FilePlacement.h"

#include "tests/support/PenTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray oldBytes = "the old file";

/// Three blocks and a bit.
QByteArray newBytes()
{
    QByteArray bytes;
    for (int line = 0; bytes.size() < 3 * FilePlacement::blockSize + 12'345; ++line)
        bytes += QByteArray::number(line).repeated(20) + '\n';
    return bytes;
}

/// System calls of which some fail. A call is counted before it is made.
class FaultyCalls
{
public:
    enum class After { Recovers, StaysGone };

    FaultyCalls()
    {
        const FileCalls &real = FileCalls::system();
        calls.openat = guarded("openat", real.openat);
        calls.read = guarded("read", real.read);
        calls.fdatasync = guarded("fdatasync", real.fdatasync);
        calls.fsync = guarded("fsync", real.fsync);
        calls.unlinkat = guarded("unlinkat", real.unlinkat);
        calls.fstatvfs = guarded("fstatvfs", real.fstatvfs);
        calls.write = [this](int file, const void *data, size_t size) -> ssize_t {
            return fails("write") ? -1 : ::write(file, data, std::min(size, longestWrite));
        };
        calls.close = [this](int file) {
            const bool failing = fails("close");
            const int result = ::close(file); // a close that fails has closed all the same
            return failing ? -1 : result;
        };
        calls.renameat = [this](int from, const char *source, int to, const char *target) {
            if (!QByteArrayView(source).startsWith(FilePlacement::neighbourPrefix)
                && acrossSystems) {
                errno = EXDEV;
                return -1;
            }
            return fails("renameat") ? -1 : ::renameat(from, source, to, target);
        };
    }

    FileCalls calls;
    QByteArrayList made;
    qsizetype failAt = -1; ///< index into `made`
    QByteArray failKind;   ///< or every call of this kind
    int error = EIO;
    After after = After::Recovers;
    bool acrossSystems = true;
    size_t longestWrite = SIZE_MAX;

private:
    template <typename Result, typename... Arguments>
    std::function<Result(Arguments...)> guarded(const char *kind,
                                                std::function<Result(Arguments...)> real)
    {
        return [this, kind, real](Arguments... arguments) -> Result {
            return fails(kind) ? -1 : real(arguments...);
        };
    }

    bool fails(const char *kind)
    {
        made.append(kind);
        const qsizetype index = made.size() - 1;
        const bool isGone = after == After::StaysGone && failAt >= 0 && index > failAt;
        if (index != failAt && failKind != kind && !isGone)
            return false;
        errno = isGone ? ENOTCONN : error;
        return true;
    }
};

/// A file to place over an old one, on the same medium.
class PlacementTest : public PenTest
{
protected:
    void prepare() const
    {
        pen.write(u"book/target.qnk"_s, oldBytes);
        pen.write(u"source.tmp"_s, bytes);
    }

    /// 0 or the errno value.
    int move(FaultyCalls &calls)
    {
        const FilePlace place(pen.volumePath(u"book/target.qnk"_s), &volumes);
        return FilePlacement(place, calls.calls)
            .moveHere(FilePlace(pen.volumePath(u"source.tmp"_s), &volumes), stop.get_token());
    }

    [[nodiscard]] QByteArray target() const { return pen.read(u"book/target.qnk"_s); }

    const QByteArray bytes = newBytes();
    std::stop_source stop;
};

enum class Operation { Write, Copy, Rename };
enum class Target { Absent, Present };

struct PlacementCase
{
    const char *name;
    Operation operation;
    Target target;
};

class Placement : public PlacementTest, public testing::WithParamInterface<PlacementCase>
{
protected:
    void prepare() const
    {
        PlacementTest::prepare();
        if (GetParam().target == Target::Absent)
            pen.remove(u"book/target.qnk"_s);
    }

    int perform(FaultyCalls &faulty)
    {
        faulty.acrossSystems = GetParam().operation == Operation::Copy;
        if (isMove())
            return move(faulty);
        const FilePlace place(pen.volumePath(u"book/target.qnk"_s), &volumes);
        return FilePlacement(place, faulty.calls).write(bytes);
    }

    int performFailingAt(qsizetype call, FaultyCalls::After after)
    {
        prepare();
        FaultyCalls faulty;
        faulty.failAt = call;
        faulty.after = after;
        const int error = perform(faulty);
        EXPECT_GT(faulty.made.size(), call);
        return error;
    }

    [[nodiscard]] bool isMove() const { return GetParam().operation != Operation::Write; }
    [[nodiscard]] bool isTargetOld() const
    {
        return GetParam().target == Target::Present ? target() == oldBytes : target().isNull();
    }
    [[nodiscard]] bool isTargetNew() const { return target() == bytes; }
    [[nodiscard]] bool isNeighbourGone() const
    {
        return pen.names(u"book"_s).filter(u".quillo-part-"_s).isEmpty();
    }

    QByteArrayList callsOfASuccess()
    {
        FaultyCalls faulty;
        prepare();
        EXPECT_EQ(perform(faulty), 0);
        return faulty.made;
    }
};

/// A rename writes nothing.
class WritingPlacement : public Placement
{
};

} // namespace

TEST_P(Placement, PutsTheWholeFileInPlace)
{
    prepare();
    FaultyCalls faulty;
    ASSERT_EQ(perform(faulty), 0);
    EXPECT_TRUE(isTargetNew());
    EXPECT_EQ(pen.exists(u"source.tmp"_s), !isMove());
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    const auto flushed = faulty.made.indexOf("fdatasync");
    const auto renamed = faulty.made.indexOf("renameat");
    EXPECT_TRUE(flushed >= 0 && flushed < renamed && renamed < faulty.made.lastIndexOf("fsync"));
}

TEST_P(Placement, LeavesOldOrNewWhenACallFails)
{
    const QByteArrayList made = callsOfASuccess();
    for (qsizetype i = 0; i < made.size(); ++i) {
        SCOPED_TRACE(made.at(i).toStdString() + " at " + std::to_string(i));
        const int error = performFailingAt(i, FaultyCalls::After::Recovers);
        const bool flushedLate = made.at(i) == "fsync" || made.mid(0, i).contains("renameat");
        if (error == 0) { // only what is not needed may fail
            EXPECT_TRUE(made.at(i) == "unlinkat" || made.at(i) == "close");
            EXPECT_TRUE(isTargetNew());
        } else {
            EXPECT_EQ(error, EIO);
            EXPECT_TRUE(flushedLate ? isTargetNew() : isTargetOld());
            EXPECT_TRUE(GetParam().operation == Operation::Rename || pen.exists(u"source.tmp"_s));
        }
        EXPECT_TRUE(isNeighbourGone());
    }
}

TEST_P(Placement, LeavesOldOrNewWhenTheMediumGoes)
{
    const qsizetype calls = callsOfASuccess().size();
    for (qsizetype i = 0; i < calls; ++i) {
        SCOPED_TRACE(i);
        const int error = performFailingAt(i, FaultyCalls::After::StaysGone);
        EXPECT_TRUE(error == 0 ? isTargetNew() : isTargetOld() || isTargetNew());
        if (!isTargetNew() && isMove()) {
            EXPECT_EQ(pen.read(u"source.tmp"_s), bytes);
        }
        FileManager::removeLeftovers(pen.volumePath(u"book"_s));
        EXPECT_TRUE(isNeighbourGone());
    }
}

TEST_P(WritingPlacement, KeepsTheOldFileOnAFullMedium)
{
    for (const QByteArray kind : {"write", "fdatasync", "close"}) {
        SCOPED_TRACE(kind.toStdString());
        prepare();
        FaultyCalls faulty;
        faulty.failKind = kind;
        faulty.error = ENOSPC;
        EXPECT_EQ(perform(faulty), ENOSPC);
        EXPECT_TRUE(isTargetOld() && isNeighbourGone());
        EXPECT_EQ(pen.read(u"source.tmp"_s), bytes);
    }
}

TEST_P(Placement, SurvivesShortWrites)
{
    prepare();
    FaultyCalls faulty;
    faulty.longestWrite = 100'003;
    EXPECT_EQ(perform(faulty), 0);
    EXPECT_TRUE(isTargetNew());
    EXPECT_TRUE(isNeighbourGone());
}

const PlacementCase placementCases[] = {
    {"writeNew", Operation::Write, Target::Absent},
    {"writeOver", Operation::Write, Target::Present},
    {"copyNew", Operation::Copy, Target::Absent},
    {"copyOver", Operation::Copy, Target::Present},
    {"renameNew", Operation::Rename, Target::Absent},
    {"renameOver", Operation::Rename, Target::Present},
};

INSTANTIATE_TEST_SUITE_P(Kinds, Placement, testing::ValuesIn(placementCases),
                         [](const auto &row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Kinds, WritingPlacement,
                         testing::ValuesIn(placementCases, placementCases + 4),
                         [](const auto &row) { return row.param.name; });

namespace {

/// Copies across file systems only.
class Copying : public PlacementTest
{
protected:
    void SetUp() override { prepare(); }

    int move() { return PlacementTest::move(faulty); }

    void expectNothingHappened() const
    {
        EXPECT_EQ(target(), oldBytes);
        EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
        EXPECT_TRUE(pen.exists(u"source.tmp"_s));
    }

    FaultyCalls faulty;
};

} // namespace

TEST_F(Copying, StopsAtABlockAndLeavesTheOldFile)
{
    for (const int last : {1, 2, 4}) {
        int blocks = 0;
        stop = std::stop_source();
        faulty.calls.read = [&](int file, void *data, size_t size) {
            if (++blocks == last)
                stop.request_stop();
            return ::read(file, data, size);
        };
        EXPECT_EQ(move(), ECANCELED);
        EXPECT_EQ(blocks, last);
        expectNothingHappened();
    }
}

TEST_F(Copying, StopsAfterTheFlush)
{
    faulty.calls.fdatasync = [this](int file) {
        stop.request_stop();
        return ::fdatasync(file);
    };
    EXPECT_EQ(move(), ECANCELED);
    expectNothingHappened();
}

TEST_F(Copying, AnotherPlacementMeanwhileTouchesNothingOfIt)
{
    FaultyCalls others;
    faulty.calls.fdatasync = [&](int file) {
        others.calls.write = [&](int descriptor, const void *data, size_t size) {
            // What the first one renames now must be its own.
            faulty.calls.fdatasync = ::fdatasync;
            EXPECT_EQ(pen.names(u"book"_s).size(), 3);
            return ::write(descriptor, data, size / 2);
        };
        others.failKind = "fdatasync";
        EXPECT_EQ(PlacementTest::move(others), EIO);
        return ::fdatasync(file);
    };
    EXPECT_EQ(move(), 0);
    EXPECT_EQ(target(), bytes);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
}

TEST_F(Copying, ChecksTheFreeSpaceBeforeItWrites)
{
    faulty.calls.fstatvfs = [this](int, struct statvfs *system) {
        *system = {};
        system->f_frsize = 512;
        system->f_blocks = 1'000'000;
        system->f_bavail = static_cast<fsblkcnt_t>(bytes.size() / 512);
        return 0;
    };
    EXPECT_EQ(move(), ENOSPC);
    EXPECT_FALSE(faulty.made.contains("write"));
    expectNothingHappened();
}

TEST_F(Copying, RefusesASourceThatChangesMeanwhile)
{
    faulty.calls.read = [this](int file, void *data, size_t size) {
        pen.write(u"source.tmp"_s, "cut");
        return ::read(file, data, size);
    };
    EXPECT_EQ(move(), EIO);
    expectNothingHappened();
}

TEST_F(Copying, GoesOnAfterAnInterruptedCall)
{
    int interruptions = 0;
    faulty.calls.read = [&](int file, void *data, size_t size) -> ssize_t {
        if (++interruptions % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return ::read(file, data, size);
    };
    EXPECT_EQ(move(), 0);
    EXPECT_EQ(target(), bytes);
}

TEST_F(Copying, GoesOnWithoutWhatIsNotNeeded)
{
    faulty.calls.fstatvfs = [](int, struct statvfs *system) {
        *system = {}; // as where the free space is not told
        return 0;
    };
    faulty.failKind = "fsync";
    faulty.error = EINVAL; // as where folders cannot be flushed
    EXPECT_EQ(move(), 0);
    EXPECT_EQ(target(), bytes);

    prepare();
    faulty.failKind = "unlinkat";
    EXPECT_EQ(move(), 0);
    EXPECT_EQ(target(), bytes);
    EXPECT_TRUE(pen.exists(u"source.tmp"_s));
}

TEST_F(Copying, DoesNotReplaceAFolder)
{
    pen.remove(u"book/target.qnk"_s);
    pen.write(u"book/target.qnk/inside"_s, "x");
    EXPECT_NE(move(), 0);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    EXPECT_TRUE(pen.exists(u"book/target.qnk/inside"_s) && pen.exists(u"source.tmp"_s));
}

TEST(CopyingForReal, ReachesAnotherFileSystem)
{
    QTemporaryDir memory(u"/dev/shm/quillo-XXXXXX"_s);
    QTemporaryDir disk;
    struct stat there = {};
    struct stat here = {};
    if (!memory.isValid() || ::stat(memory.path().toUtf8().constData(), &there) != 0
        || ::stat(disk.path().toUtf8().constData(), &here) != 0 || there.st_dev == here.st_dev)
        GTEST_SKIP() << "there is only one file system to write to";
    const QByteArray bytes = newBytes();
    QFile source(disk.filePath(u"source"_s));
    ASSERT_TRUE(source.open(QFile::WriteOnly) && source.write(bytes) == bytes.size());
    source.close();
    EXPECT_TRUE(FileManager::moveItem(source.fileName(), memory.filePath(u"target"_s)));
    EXPECT_EQ(FileManager::contents(memory.filePath(u"target"_s)).data, bytes);
    EXPECT_FALSE(source.exists());
}
