#include "bluetooth/AddressAssembler.h"

#include "bluetooth/PenMessage.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

using namespace Qt::StringLiterals;

namespace {

TEST(PenMessageTest, TellsKindAndPiece)
{
    using Kind = PenMessage::Kind;
    struct Row
    {
        const char *name;
        QByteArray value; // in hexadecimal digits
        Kind kind;
        QString piece = {};
        bool last = false;
    };
    forEachRow<Row>({{"empty", "", Kind::TooShort},
                     {"noIndex", "aa01", Kind::TooShort},
                     {"ofNoPieces", "aa000061", Kind::TooShort},
                     {"first", "aa020061", Kind::Piece, u"a"_s},
                     {"last", "aa020161", Kind::Piece, u"a"_s, true},
                     {"lastOfMost", "aafffe61", Kind::Piece, u"a"_s, true},
                     {"indexTooHigh", "aa020261", Kind::Piece, u"a"_s},
                     {"emptyLast", "aa0100", Kind::Piece, {}, true},
                     {"notAscii", "aa010061c3a4", Kind::Piece, {}, true},
                     {"gaveUp", "bbaa", Kind::GaveUp},
                     {"defaultVideo", "cc", Kind::DefaultVideo},
                     {"unknown", "ab010061", Kind::Unknown}},
                    [](const Row &row) {
                        const auto message = PenMessage::parse(QByteArray::fromHex(row.value));
                        EXPECT_EQ(message.kind, row.kind);
                        EXPECT_EQ(message.piece, row.piece);
                        EXPECT_EQ(message.lastPiece, row.last);
                    });
}

TEST(AddressAssemblerTest, MakesAddresses)
{
    struct Row
    {
        const char *name;
        QString pieces;
        QString address; // empty for none
    };
    forEachRow<Row>({{"plain", u"http://a/b.mp4"_s, u"http://a/b.mp4"_s},
                     {"slashes", u"//http://a/b"_s, u"http://a/b"_s},
                     {"onlyTheFirstSlashes", u"////a/b"_s, u"//a/b"_s},
                     {"blanks", u"http://a/b c "_s, u"http://a/b%20c%20"_s},
                     {"kept", u"http%3A//a/b.mp4"_s, u"http%3A//a/b.mp4"_s},
                     {"quote", u"http://a/\"><script>"_s, {}},
                     {"lineFeed", u"http://a/\n"_s, {}},
                     {"nothing", {}, {}},
                     {"nothingElse", u"//"_s, {}}},
                    [](const Row &row) {
                        AddressAssembler assembler;
                        assembler.append(row.pieces);
                        QString text;
                        const std::optional<QUrl> url = assembler.finish(text);
                        EXPECT_EQ(url.has_value(), !row.address.isEmpty());
                        EXPECT_EQ(url.value_or(QUrl()).toString(QUrl::FullyEncoded), row.address);
                        EXPECT_TRUE(assembler.urlString().isEmpty());
                    });
}

TEST(AddressAssemblerTest, DropsWhatIsTooLongToItsEnd)
{
    QString text;
    AddressAssembler assembler;
    const QString longest = u"http://a/"_s.leftJustified(AddressAssembler::mostCharacters, u'b');
    assembler.append(longest);
    assembler.append(u"c"_s);
    assembler.append({});
    EXPECT_EQ(assembler.urlString(), longest);
    EXPECT_FALSE(assembler.finish(text));
    assembler.append(longest);
    EXPECT_TRUE(assembler.finish(text)) << "the next one has nothing to do with it";
}

} // namespace
