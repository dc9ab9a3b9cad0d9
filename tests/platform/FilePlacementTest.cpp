#include "platform/FilePlacement.h"

#include "tests/platform/FaultyCalls.h"
#include "tests/support/PenTest.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

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

enum class Operation { Write, AppendFile };
enum class Target { Absent, Present };

using PlacementCase = std::tuple<Operation, Target>;

/// A file to place over an old one or where there is none.
class Placement : public PenTest, public testing::WithParamInterface<PlacementCase>
{
protected:
    void prepare() const
    {
        pen.write(u"book/target.qnk"_s, oldBytes);
        pen.write(u"source.tmp"_s, bytes);
        if (std::get<Target>(GetParam()) == Target::Absent)
            pen.remove(u"book/target.qnk"_s);
    }

    [[nodiscard]] FilePlace place() const
    {
        return FilePlace(pen.volumePath(u"book/target.qnk"_s), &volumes);
    }

    /// 0 or the errno value.
    int perform(FaultyCalls &faulty)
    {
        FilePlacement placement(place(), faulty.calls);
        if (std::get<Operation>(GetParam()) == Operation::Write)
            return placement.write(bytes);
        struct stat status = {};
        const Descriptor source =
            FilePlace(pen.volumePath(u"source.tmp"_s), &volumes).openForReading(status);
        int error = placement.open();
        if (error == 0)
            error = placement.appendFile(source.get(), status.st_size, stop.get_token());
        return error != 0 ? error : placement.finish(place(), stop.get_token());
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

    [[nodiscard]] QByteArray target() const { return pen.read(u"book/target.qnk"_s); }
    [[nodiscard]] bool isTargetOld() const
    {
        return std::get<Target>(GetParam()) == Target::Present ? target() == oldBytes
                                                               : target().isNull();
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

    const QByteArray bytes = newBytes();
    std::stop_source stop;
};

} // namespace

TEST_P(Placement, PutsTheWholeFileInPlace)
{
    const QByteArrayList made = callsOfASuccess();
    EXPECT_TRUE(isTargetNew());
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    const auto flushed = made.indexOf("fdatasync");
    const auto renamed = made.indexOf("renameat");
    EXPECT_TRUE(flushed >= 0 && flushed < renamed && renamed < made.lastIndexOf("fsync"));
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
        FileManager::removeLeftovers(pen.volumePath(u"book"_s));
        EXPECT_TRUE(isNeighbourGone());
    }
}

TEST_P(Placement, KeepsTheOldFileOnAFullMedium)
{
    for (const QByteArray kind : {"write", "fdatasync", "close"}) {
        SCOPED_TRACE(kind.toStdString());
        prepare();
        FaultyCalls faulty;
        faulty.failKind = kind;
        faulty.error = ENOSPC;
        EXPECT_EQ(perform(faulty), ENOSPC);
        EXPECT_TRUE(isTargetOld() && isNeighbourGone());
    }
}

TEST_P(Placement, SurvivesShortWritesAndMissingFlushesOfFolders)
{
    prepare();
    FaultyCalls faulty;
    faulty.longestWrite = 100'003;
    faulty.failKind = "fsync";
    faulty.error = EINVAL; // as where folders cannot be flushed
    EXPECT_EQ(perform(faulty), 0);
    EXPECT_TRUE(isTargetNew());
    EXPECT_TRUE(isNeighbourGone());
}

INSTANTIATE_TEST_SUITE_P(Kinds, Placement,
                         testing::Combine(testing::Values(Operation::Write, Operation::AppendFile),
                                          testing::Values(Target::Absent, Target::Present)));

namespace {

class Appending : public Placement
{
protected:
    void SetUp() override { prepare(); }

    int perform() { return Placement::perform(faulty); }

    void expectNothingHappened() const
    {
        EXPECT_EQ(target(), oldBytes);
        EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    }

    FaultyCalls faulty;
};

INSTANTIATE_TEST_SUITE_P(Over, Appending,
                         testing::Values(PlacementCase(Operation::AppendFile, Target::Present)));

} // namespace

TEST_P(Appending, StopsAtABlockOrAfterTheFlushAndLeavesTheOldFile)
{
    for (const int last : {1, 2, 4}) {
        int blocks = 0;
        stop = std::stop_source();
        faulty.calls.pread = [&](int file, void *data, size_t size, off_t at) {
            if (++blocks == last)
                stop.request_stop();
            return ::pread(file, data, size, at);
        };
        EXPECT_EQ(perform(), ECANCELED);
        EXPECT_EQ(blocks, last);
        expectNothingHappened();
    }
    stop = std::stop_source();
    faulty.calls.pread = ::pread;
    faulty.calls.fdatasync = [this](int file) {
        stop.request_stop();
        return ::fdatasync(file);
    };
    EXPECT_EQ(perform(), ECANCELED);
    expectNothingHappened();
}

TEST_P(Appending, AnotherPlacementAndASweepMeanwhileTouchNothingOfIt)
{
    FaultyCalls others;
    others.failKind = "fdatasync";
    faulty.calls.fdatasync = [&](int file) {
        FileManager::removeLeftovers(pen.volumePath(u"book"_s));
        EXPECT_EQ(Placement::perform(others), EIO);
        EXPECT_EQ(pen.names(u"book"_s).size(), 2);
        return ::fdatasync(file);
    };
    EXPECT_EQ(perform(), 0);
    EXPECT_EQ(target(), bytes);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
}

TEST_P(Appending, IsNotForAnotherPenOfThatName)
{
    pen.write(u"else/target.qnk"_s, "another pen's");
    faulty.calls.fdatasync = [this](int file) {
        QFile::rename(pen.path(u"book"_s), pen.path(u"away"_s));
        QFile::rename(pen.path(u"else"_s), pen.path(u"book"_s));
        return ::fdatasync(file);
    };
    EXPECT_EQ(perform(), ENODEV);
    EXPECT_EQ(target(), "another pen's");
    EXPECT_EQ(pen.names(u"away"_s), QStringList(u"target.qnk"_s));
}

TEST_P(Appending, GoesOnAfterAnInterruptedCallButNotWithASourceThatChanged)
{
    int interruptions = 0;
    faulty.calls.pread = [&](int file, void *data, size_t size, off_t at) -> ssize_t {
        if (++interruptions % 2 == 0)
            return ::pread(file, data, size, at);
        errno = EINTR;
        return -1;
    };
    EXPECT_EQ(perform(), 0);
    EXPECT_EQ(target(), bytes);
    faulty.calls.pread = [this](int file, void *data, size_t size, off_t at) {
        pen.write(u"source.tmp"_s, "cut");
        return ::pread(file, data, size, at);
    };
    prepare();
    EXPECT_EQ(perform(), EIO);
    expectNothingHappened();
}

TEST_P(Appending, HandsBackWhatItWritesSoThatTheFlushIsShort)
{
    pen.write(u"source.tmp"_s, bytes.repeated(10));
    QList<std::pair<off_t, off_t>> waitedFor;
    off_t handedBack = 0;
    faulty.calls.syncFileRange = [&](int, off_t begin, off_t size, unsigned flags) {
        if ((flags & SYNC_FILE_RANGE_WAIT_AFTER) != 0)
            waitedFor.append({begin, size});
        else
            handedBack += size;
        return 0;
    };
    EXPECT_EQ(perform(), 0);
    EXPECT_GT(handedBack, 7 * bytes.size());
    ASSERT_FALSE(waitedFor.isEmpty());
    EXPECT_EQ(waitedFor.first().first, 0);
    EXPECT_GT(waitedFor.last().first + waitedFor.last().second, 5 * bytes.size());

    faulty.calls.syncFileRange = [](int, off_t, off_t, unsigned) {
        errno = ENOSYS;
        return -1;
    };
    EXPECT_EQ(perform(), 0) << "the flush does it alone";
    faulty.calls.syncFileRange = [](int, off_t, off_t, unsigned) {
        errno = ENOSPC; // which a flush does not say again
        return -1;
    };
    EXPECT_EQ(perform(), ENOSPC);
}

TEST_P(Appending, DoesNotReplaceAFolder)
{
    pen.remove(u"book/target.qnk"_s);
    pen.write(u"book/target.qnk/inside"_s, "x");
    EXPECT_NE(perform(), 0);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    EXPECT_TRUE(pen.exists(u"book/target.qnk/inside"_s));
}
