#include "platform/IncomingFile.h"
#include "tests/support/FuseMedium.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class Medium : public PenTest, public testing::WithParamInterface<FuseMedium::Kind>
{
protected:
    void SetUp() override
    {
        if (!medium.isAvailable())
            GTEST_SKIP() << qPrintable(medium.reason());
    }

    [[nodiscard]] QByteArray path(const QString &name) const
    {
        return QFile::encodeName(pen.path(name));
    }

    FuseMedium medium{pen.root(), GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Kinds, Medium,
                         testing::Values(FuseMedium::Kind::Fat, FuseMedium::Kind::FatWriteBack));

} // namespace

// What tests of placement rely on: the medium behaves as it says.
TEST_P(Medium, KeepsFilesByTheRulesOfFat)
{
    const QByteArray data(3'000'000, 'n');
    pen.write(u"title"_s, "old");
    pen.write(u".part"_s, data);
    EXPECT_EQ(::rename(path(u".part"_s).constData(), path(u"title"_s).constData()), 0);
    EXPECT_TRUE(pen.read(u"title"_s) == data);
    EXPECT_FALSE(QFile(pen.path(u"a:b"_s)).open(QFile::WriteOnly));
    EXPECT_NE(::symlink("title", path(u"link"_s).constData()), 0);
    EXPECT_NE(::chmod(path(u"title"_s).constData(), 0600), 0);
    EXPECT_NE(::truncate(path(u"title"_s).constData(), off_t(1) << 32), 0);
    struct stat status = {};
    EXPECT_EQ(::stat(path(u"title"_s).constData(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_nsec, 0);
    EXPECT_EQ(pen.names(QString()), QStringList({u"book"_s, u"configure"_s, u"mp3"_s, u"title"_s}));
}

TEST_P(Medium, TakesTheWholeNewFileForTheOldOne)
{
    for (const QByteArray &content : {QByteArray(6000, 'o'), QByteArray(9'000'000, 'n')}) {
        IncomingFile file(pen.volumePath(u"book/target.qnk"_s));
        EXPECT_FALSE(file.begin(content.size()));
        EXPECT_FALSE(file.append(content.constData(), content.size()));
        EXPECT_FALSE(file.place({}));
        EXPECT_EQ(pen.read(u"book/target.qnk"_s), content);
    }
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
}
