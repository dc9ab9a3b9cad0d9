#include "platform/IncomingFile.h"

#include "tests/platform/FaultyCalls.h"
#include "tests/support/PenTest.h"
#include "tests/support/Rows.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

using Reason = FileFailure::Reason;

const QByteArray oldBytes(6000, 'o');
const QByteArray newBytes(9000, 'n');

/// A medium with as much room as is said, on which an old file stands.
class IncomingFileTest : public PenTest
{
protected:
    IncomingFileTest()
    {
        qputenv("TMPDIR", temporary.path().toUtf8());
        pen.write(u"book/target.qnk"_s, oldBytes);
        faulty.calls.fstatvfs = [this](int, struct statvfs *system) {
            *system = {};
            system->f_frsize = 1000;
            system->f_blocks = total / 1000;
            system->f_bavail = free / 1000;
            return 0;
        };
    }

    [[nodiscard]] FileFailure load(IncomingFile &file) const
    {
        const FileFailure failure = file.begin(newBytes.size());
        return failure ? failure : file.append(newBytes.constData(), newBytes.size());
    }
    [[nodiscard]] QByteArray target() const { return pen.read(u"book/target.qnk"_s); }
    void expectOnly(const QByteArray &content) const
    {
        EXPECT_EQ(target(), content);
        EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    }

    QTemporaryDir temporary;
    FaultyCalls faulty;
    fsblkcnt_t total = 1'000'000;
    fsblkcnt_t free = 5000; ///< bytes: enough once the old file has gone
    std::stop_source stop;
    const QString path = pen.volumePath(u"book/target.qnk"_s);
};

} // namespace

TEST(LoadingPlaceTest, IsBesideTheOldFileElseOnTheComputerElseNowhere)
{
    struct Row
    {
        const char *name;
        qint64 size;
        Room room;
        LoadingPlace place;
    };
    forEachRow<Row>({{"Fits", 800, {true, 1000, 100, 0}, LoadingPlace::Medium},
                     {"FitsWithItsEntry", 900, {true, 1000, 100, 0}, LoadingPlace::Medium},
                     {"FitsWithoutItsEntryOnly", 901, {true, 1000, 100, 0}, LoadingPlace::Nowhere},
                     {"FitsOnceTheOldHasGone", 901, {true, 1000, 100, 100}, LoadingPlace::Computer},
                     {"DoesNotFitEvenThen", 1001, {true, 1000, 100, 100}, LoadingPlace::Nowhere},
                     {"SizeNotKnown", -1, {true, 0, 100, 0}, LoadingPlace::Medium},
                     {"RoomNotKnown", 1'000'000, {false, 0, 100, 0}, LoadingPlace::Medium}},
                    [](const Row &row) { EXPECT_EQ(loadingPlace(row.size, row.room), row.place); });
}

TEST_F(IncomingFileTest, WaitsOnTheComputerUntilTheOldFileMakesRoom)
{
    IncomingFile file(path, faulty.calls);
    EXPECT_FALSE(load(file));
    EXPECT_TRUE(file.isOnComputer());
    EXPECT_EQ(QDir(temporary.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
    expectOnly(oldBytes);
    {
        std::stop_source early;
        early.request_stop();
        EXPECT_EQ(file.place(early.get_token()).reason, Reason::Cancelled);
        expectOnly(oldBytes);
    }
    faulty.calls.write = [this](int descriptor, const void *data, size_t size) {
        EXPECT_FALSE(pen.exists(u"book/target.qnk"_s));
        stop.request_stop(); // too late: nothing would be left
        return ::write(descriptor, data, size);
    };
    EXPECT_FALSE(file.place(stop.get_token()));
    expectOnly(newBytes);
}

TEST_F(IncomingFileTest, OnTheComputerItOutlivesEveryFailure)
{
    qsizetype calls = 1;
    for (qsizetype failing = 0; failing < calls; ++failing) {
        SCOPED_TRACE(failing);
        pen.write(u"book/target.qnk"_s, oldBytes);
        IncomingFile file(path, faulty.calls);
        faulty.failAt = -1;
        EXPECT_FALSE(load(file));
        faulty.made.clear();
        faulty.failAt = failing;
        const FileFailure failure = file.place(stop.get_token());
        calls = std::max(calls, faulty.made.size());
        EXPECT_TRUE(!failure || failure.reason == Reason::Gone);
        EXPECT_TRUE(target().isNull() || target() == oldBytes || target() == newBytes);
        if (!failure)
            continue;
        free = target().isNull() ? 11'000 : 5000;
        faulty.failAt = -1;
        EXPECT_FALSE(file.place(stop.get_token())) << "another try";
        EXPECT_EQ(target(), newBytes);
        free = 5000;
    }
    EXPECT_GT(calls, 8);
}

TEST_F(IncomingFileTest, WithoutRoomEvenThenNothingIsTouched)
{
    free = 1000;
    IncomingFile file(path, faulty.calls);
    const FileFailure failure = load(file);
    EXPECT_EQ(failure.reason, Reason::Full);
    EXPECT_EQ(failure.needed, newBytes.size());
    EXPECT_EQ(failure.free, 1000);
    EXPECT_FALSE(faulty.made.contains("openat"));

    free = 5000;
    EXPECT_FALSE(load(file));
    free = 1000; // meanwhile
    EXPECT_EQ(file.place(stop.get_token()).reason, Reason::Full);
    expectOnly(oldBytes);

    total = free = 0; // which is no size
    EXPECT_FALSE(load(file));
    EXPECT_FALSE(file.isOnComputer());
    EXPECT_FALSE(file.place(stop.get_token()));
    expectOnly(newBytes);
}

TEST_F(IncomingFileTest, AMediumThatIsFullAfterAllSaysWhatItLacks)
{
    free = 500'000;
    faulty.failKind = "write";
    faulty.error = ENOSPC;
    IncomingFile file(path, faulty.calls);
    const FileFailure failure = load(file);
    EXPECT_EQ(failure.reason, Reason::Full);
    EXPECT_EQ(failure.needed, newBytes.size());
    EXPECT_EQ(failure.free, 500'000);
    expectOnly(oldBytes);
    faulty.failKind = "openat";
    for (const auto &[error, reason] : {std::pair(EROFS, Reason::ReadOnly),
                                        {EDQUOT, Reason::Full},
                                        {ENODEV, Reason::Gone},
                                        {EMFILE, Reason::Other}}) {
        faulty.error = error;
        EXPECT_EQ(load(file).reason, reason) << error;
    }
}
