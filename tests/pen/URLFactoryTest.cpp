#include "pen/URLFactory.h"

#include "platform/Address.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

QString text(const std::optional<QUrl> &url)
{
    return url ? url->toString(QUrl::FullyEncoded) : u"absent"_s;
}

class URLFactoryTest : public PenTest
{
protected:
    void mount(const QString &name) const { ASSERT_TRUE(QDir(pen.volumes()).mkdir(name)); }
};

} // namespace

TEST_F(URLFactoryTest, FindsThePenByTheWholeNameOfItsVolume)
{
    const QList<std::pair<QString, QString>> rows = {
        {u"QUILLO"_s, u"file:///Volumes/QUILLO/"_s},
        {u"QUILLO_DATA"_s, u"file:///Volumes/QUILLO_DATA/"_s},
        {u"NO NAME"_s, u"file:///Volumes/NO%20NAME/"_s},
        {u"NO%20NAME"_s, u"file:///Volumes/NO%2520NAME/"_s},
        {u"quillo"_s, u"absent"_s},
        {u"QUILLO 1"_s, u"absent"_s},
        {u"QUILLO_DATA2"_s, u"absent"_s},
    };
    pen.pullOut();
    for (const auto &[name, root] : rows) {
        mount(name);
        EXPECT_EQ(text(URLFactory::getQuilloURL()), root) << name.toStdString();
        ASSERT_TRUE(QDir(pen.volumes()).rmdir(name));
    }
}

TEST_F(URLFactoryTest, TitleFilesAreNamedAfterTheMid)
{
    const QString book = u"file:///Volumes/QUILLO/book/"_s;
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::qnk)), book + u"00042_en.qnk"_s);
    EXPECT_EQ(text(URLFactory::url(u"123"_s, FileType::txt)), book + u"0123_en.txt"_s);
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::png)), book + u"00042_en.png"_s);
    pen.pullOut();
    EXPECT_FALSE(URLFactory::url(u"0042"_s, FileType::qnk));
}

TEST_F(URLFactoryTest, KeepsOddFileNames)
{
    const QUrl folder = URLFactory::getBookURL().value();
    for (const QString &fileName : {u"a%20b.txt"_s, u"ä#1?.png"_s, u"100%.qnk"_s, u" x "_s})
        EXPECT_EQ(pathOf(URLFactory::fileURL(folder, fileName)),
                  u"/Volumes/QUILLO/book/"_s + fileName);
}
