#include "demo/DemoTitles.h"
#include "demo/DemoCatalogue.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QString described(const QList<DemoTitle> &titles)
{
    QString text;
    for (const DemoTitle &title : titles)
        text += title.id() + title.record(title.version).textFileContent()
                + QString::number(title.contentBytes);
    return text;
}

int weightedSum(const QString &isbn)
{
    int sum = 0;
    for (qsizetype i = 0; i < isbn.size(); ++i)
        sum += isbn.at(i).digitValue() * (i % 2 == 0 ? 1 : 3);
    return sum;
}

} // namespace

TEST(DemoTitles, followFromTheSeed)
{
    EXPECT_EQ(described(inventTitles(1, 50)), described(inventTitles(1, 50)));
    EXPECT_NE(described(inventTitles(1, 50)), described(inventTitles(2, 50)));
}

TEST(DemoTitles, haveNamesMidsAndValidIsbns)
{
    for (const int count : {0, 24, 10'000}) {
        QSet<QString> names;
        QSet<int> mids;
        for (const DemoTitle &title : inventTitles(7, count)) {
            names.insert(title.name);
            mids.insert(title.mid);
            ASSERT_EQ(title.isbn.size(), 13);
            ASSERT_EQ(weightedSum(title.isbn) % 10, 0) << title.isbn.toStdString();
        }
        EXPECT_EQ(names.size(), count);
        EXPECT_EQ(mids.size(), count);
    }
}

/// A metadata line keeps what stands between its first and second colon.
TEST(DemoTitles, surviveTheirMetadataText)
{
    for (const DemoTitle &title : inventTitles(5, 200)) {
        const QString text = title.record(4).textFileContent();
        const BaseElement read = BaseElement::parseTextFile(u"Id: "_s + title.id() + u'\n' + text);
        EXPECT_EQ(read.name, title.name);
        EXPECT_EQ(read.author, title.author);
        EXPECT_EQ(read.publisher, title.publisher);
        EXPECT_EQ(read.type, title.type);
        EXPECT_EQ(read.mid.toInt(), title.mid);
        EXPECT_EQ(read.bookVersion, 4);
    }
}

TEST(DemoContent, isTheSameFromEveryOffset)
{
    const DemoContent content(u"00042_en 3"_s, 100003);
    const QByteArray whole = content.bytes(0, content.size());
    ASSERT_EQ(whole.size(), 100003);
    EXPECT_NE(DemoContent(u"00042_en 4"_s, 100003).bytes(0, 64), whole.left(64));
    EXPECT_EQ(content.bytes(65531, 9), whole.mid(65531, 9));
    EXPECT_EQ(content.bytes(100000, 50), whole.mid(100000));
    EXPECT_EQ(content.bytes(100003, 1), QByteArray());
}
