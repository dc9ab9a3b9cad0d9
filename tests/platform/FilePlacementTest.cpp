#include "platform/FilePlacement.h"

#include "tests/platform/FaultyCalls.h"
#include "tests/support/PenTest.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray oldBytes = "the old file";

/// A file to place over an old one or where there is none.
class Placement : public PenTest
{
protected:
    Placement() { prepare(); }

    void prepare() const
    {
        pen.write(u"book/target.qnk"_s, oldBytes);
        pen.write(u"source.tmp"_s, bytes);
        if (!replaces)
            pen.remove(u"book/target.qnk"_s);
    }

    /// Written and copied, where there is a file and where there is none.
    template <typename Check>
    void inEveryCase(const Check &check)
    {
        for (const auto &[copied, replacing] :
             {std::pair(false, false), {false, true}, {true, false}, {true, true}}) {
            copies = copied;
            replaces = replacing;
            SCOPED_TRACE(testing::PrintToString(std::pair(copied, replacing)));
            prepare();
            check();
        }
    }

    [[nodiscard]] FilePlace place() const
    {
        return FilePlace(pen.volumePath(u"book/target.qnk"_s), &volumes);
    }

    /// 0 or the errno value.
    int perform(FaultyCalls &calls)
    {
        FilePlacement placement(place(), calls.calls);
        if (!copies)
            return placement.write(bytes);
        struct stat status = {};
        const Descriptor source =
            FilePlace(pen.volumePath(u"source.tmp"_s), &volumes).openForReading(status);
        int error = placement.open();
        if (error == 0)
            error = placement.appendFile(source.get(), status.st_size, stop.get_token());
        return error != 0 ? error : placement.finish(place(), stop.get_token());
    }
    int perform() { return perform(faulty); }

    int performFailingAt(qsizetype call, FaultyCalls::After after)
    {
        prepare();
        FaultyCalls failing;
        failing.failAt = call;
        failing.after = after;
        const int error = perform(failing);
        EXPECT_GT(failing.made.size(), call);
        return error;
    }

    [[nodiscard]] QByteArray target() const { return pen.read(u"book/target.qnk"_s); }
    [[nodiscard]] bool isTargetOld() const
    {
        return replaces ? target() == oldBytes : target().isNull();
    }
    [[nodiscard]] bool isTargetNew() const { return target() == bytes; }
    [[nodiscard]] bool isAlone(const QString &folder = u"book"_s) const
    {
        return pen.names(folder) == QStringList(u"target.qnk"_s);
    }
    [[nodiscard]] bool isNeighbourGone() const
    {
        return isAlone() || pen.names(u"book"_s).isEmpty();
    }

    /// Three blocks and a bit.
    const QByteArray bytes =
        QByteArray("0123456789x").repeated((3 * FilePlacement::blockSize + 12'345) / 11);
    bool copies = true;
    bool replaces = true;
    FaultyCalls faulty;
    std::stop_source stop;
};

} // namespace

TEST_F(Placement, PutsTheWholeFileInPlaceOrLeavesTheOldOneWhenACallFailsOrTheMediumGoes)
{
    inEveryCase([this] {
        FaultyCalls recorded;
        EXPECT_EQ(perform(recorded), 0);
        EXPECT_TRUE(isTargetNew() && isAlone());
        const QByteArrayList made = recorded.made;
        const auto flushed = made.indexOf("fdatasync");
        const auto renamed = made.indexOf("renameat");
        EXPECT_TRUE(flushed >= 0 && flushed < renamed && renamed < made.lastIndexOf("fsync"));
        for (qsizetype i = 0; i < made.size(); ++i) {
            SCOPED_TRACE(made.at(i).toStdString() + " at " + std::to_string(i));
            int error = performFailingAt(i, FaultyCalls::After::Recovers);
            const bool flushedLate = made.at(i) == "fsync" || made.mid(0, i).contains("renameat");
            if (error == 0) // only what is not needed may fail
                EXPECT_TRUE(made.at(i) == "unlinkat" || (made.at(i) == "close" && flushedLate));
            else
                EXPECT_EQ(error, EIO);
            EXPECT_TRUE(error == 0 || flushedLate ? isTargetNew() : isTargetOld());
            EXPECT_TRUE(isNeighbourGone());

            error = performFailingAt(i, FaultyCalls::After::StaysGone);
            EXPECT_TRUE(isTargetNew() || (error != 0 && isTargetOld()));
            FileManager::removeLeftovers(pen.volumePath(u"book"_s));
            EXPECT_TRUE(isNeighbourGone());
        }
    });
}

TEST_F(Placement, SurvivesShortWritesAndMissingFlushesOfFolders)
{
    faulty.longestWrite = 100'003;
    faulty.failKind = "fsync";
    faulty.error = EINVAL; // as where folders cannot be flushed
    inEveryCase([this] {
        EXPECT_EQ(perform(), 0);
        EXPECT_TRUE(isTargetNew() && isAlone());
    });
}

TEST_F(Placement, StopsAtABlockOrAfterTheFlushAndLeavesTheOldFile)
{
    for (const int last : {1, 2, 4, 6}) {
        int blocks = 0;
        stop = std::stop_source();
        const auto count = [&] {
            if (++blocks == last)
                stop.request_stop();
        };
        faulty.calls.pread = [&](int file, void *data, size_t size, off_t at) {
            count();
            return ::pread(file, data, size, at);
        };
        faulty.calls.fdatasync = [&](int file) {
            count();
            return ::fdatasync(file);
        };
        EXPECT_EQ(perform(), ECANCELED);
        EXPECT_EQ(blocks, last);
        EXPECT_TRUE(isTargetOld() && isAlone());
    }
}

TEST_F(Placement, AnotherOneAndASweepMeanwhileTouchNothingOfIt)
{
    FaultyCalls others;
    others.failKind = "fdatasync";
    faulty.calls.fdatasync = [&](int file) {
        FileManager::removeLeftovers(pen.volumePath(u"book"_s));
        EXPECT_EQ(perform(others), EIO);
        EXPECT_EQ(pen.names(u"book"_s).size(), 2);
        return ::fdatasync(file);
    };
    EXPECT_EQ(perform(), 0);
    EXPECT_TRUE(isTargetNew() && isAlone());
}

TEST_F(Placement, IsNotForAnotherPenOfThatName)
{
    pen.write(u"else/target.qnk"_s, "another pen's");
    faulty.calls.fdatasync = [this](int file) {
        QFile::rename(pen.path(u"book"_s), pen.path(u"away"_s));
        QFile::rename(pen.path(u"else"_s), pen.path(u"book"_s));
        return ::fdatasync(file);
    };
    EXPECT_EQ(perform(), ENODEV);
    EXPECT_EQ(target(), "another pen's");
    EXPECT_TRUE(isAlone(u"away"_s));
}

TEST_F(Placement, GoesOnAfterAnInterruptedCallButNotWithASourceThatChanged)
{
    int interruptions = 0;
    faulty.calls.pread = [&](int file, void *data, size_t size, off_t at) -> ssize_t {
        if (++interruptions % 2 == 0)
            return ::pread(file, data, size, at);
        errno = EINTR;
        return -1;
    };
    EXPECT_EQ(perform(), 0);
    EXPECT_TRUE(isTargetNew());
    faulty.calls.pread = [this](int file, void *data, size_t size, off_t at) {
        pen.write(u"source.tmp"_s, "cut");
        return ::pread(file, data, size, at);
    };
    prepare();
    EXPECT_EQ(perform(), EIO);
    EXPECT_TRUE(isTargetOld() && isAlone());
}

TEST_F(Placement, HandsBackWhatItWritesSoThatTheFlushIsShort)
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

    // Where there is no such call the flush does it alone; what it says of the room counts.
    for (const auto &[error, expected] : {std::pair(ENOSYS, 0), {ENOSPC, ENOSPC}}) {
        faulty.calls.syncFileRange = [error](int, off_t, off_t, unsigned) {
            errno = error;
            return -1;
        };
        EXPECT_EQ(perform(), expected);
    }
}

TEST_F(Placement, DoesNotReplaceAFolder)
{
    pen.remove(u"book/target.qnk"_s);
    pen.write(u"book/target.qnk/inside"_s, "x");
    EXPECT_NE(perform(), 0);
    EXPECT_TRUE(isAlone() && pen.exists(u"book/target.qnk/inside"_s));
}
