#include "bluetooth/AddressAssembler.h"
#include "bluetooth/PenMessage.h"
#include "library/BaseElement.h"
#include "library/CoverImage.h"
#include "pen/ConfigureService.h"
#include "pen/PenPlaces.h"
#include "pen/TextValues.h"
#include "platform/Address.h"
#include "platform/Bundle.h"
#include "platform/HttpAnswer.h"
#include "platform/MountTable.h"
#include "sync/ElementUpdateService.h"
#include "sync/LogPostService.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/UpdateRig.h"

#include <array>
#include <functional>
#include <random>

using namespace Qt::StringLiterals;

// Feeds every parser with mutations of good input. The sanitizers find what crashes; the checks
// here find results that the rest of the program could not live with.

namespace {

struct Parser
{
    const char *name;
    QByteArray good;
    std::function<void(const QByteArray &)> parse;
    int rounds = 3000;
};

class Mutator
{
public:
    explicit Mutator(const QByteArray &good)
        : m_good(good)
    {
    }

    QByteArray next()
    {
        QByteArray input = m_good;
        for (int i = number(1, 6); i > 0; --i)
            mutate(input);
        return input;
    }

private:
    int number(int least, int most) { return std::uniform_int_distribution(least, most)(m_random); }

    QByteArray piece(const QByteArray &of)
    {
        const auto size = static_cast<int>(of.size());
        const int start = number(0, size);
        return of.mid(start, number(0, std::min(size - start, 40)));
    }

    QByteArray nastyPiece()
    {
        static const QList<QByteArray> pieces =
            QByteArray(
                "\r\n|:|..|/|\"|\\|99999999999999999999|-1|\xff\xfe|\xed\xa0\x80|\xef\xbb\xbf"
                "|&lt;|<!DOCTYPE|{|[|null|1e999|\\u0000|\\40")
                .split('|')
            + QList{QByteArray(1, '\0'), QByteArray(3000, '['), QByteArray(300, 'A')};
        return pieces.at(number(0, static_cast<int>(pieces.size()) - 1));
    }

    void mutate(QByteArray &input)
    {
        const int at = number(0, static_cast<int>(input.size()));
        const int removed = number(0, 6) == 0 ? static_cast<int>(input.size()) : number(0, 8);
        const std::array pieces{QByteArray(), piece(m_good), nastyPiece(),
                                QByteArray(1, static_cast<char>(number(0, 255)))};
        input.replace(at, removed, pieces[static_cast<size_t>(number(0, 3))]);
    }

    QByteArray m_good;
    std::mt19937 m_random; // the standard's own seed: a finding comes back
};

void parseMetadata(const QByteArray &bytes)
{
    const BaseElement element =
        BaseElement::parseTextFile(decodeUtf8(bytes).value_or(QString::fromLatin1(bytes)));
    EXPECT_EQ(splitAtNewlines(element.name + element.id + element.isbn).size(), 1);
    EXPECT_EQ(BaseElement::parseTextFile(element.textFileContent()).name, element.name);
}

void parseServerRecords(const QByteArray &bytes)
{
    for (const ElementPtr &element : BaseElement::elementsFromServer(bytes, bytes))
        EXPECT_TRUE(isSafeFileName(element->id)) << element->id.toStdString();
}

void parseBodyLength(const QByteArray &bytes)
{
    const BodyLength length = BodyLength::of({{}, 200, {{"content-length", bytes}}});
    EXPECT_EQ(length.bytes >= 0, length.told == BodyLength::Told::ByLength);
    EXPECT_LE(length.bytes, largestFile);
}

void parseContentRange(const QByteArray &bytes)
{
    const std::optional<ContentRange> range = ContentRange::parse(bytes);
    EXPECT_TRUE(!range || (0 <= range->start && range->start <= range->end));
}

void parsePicture(const QByteArray &bytes)
{
    EXPECT_FALSE(pictureSize(bytes).value_or(QSize(1, 1)).isEmpty());
}

void parseMounts(const QByteArray &bytes)
{
    for (const Mount &mount : volumeMounts(parseMountTable(bytes)))
        EXPECT_TRUE(mount.mountPoint.startsWith(u'/')) << mount.mountPoint.toStdString();
}

/// Nothing in the text may stand for more than there is.
template <auto Parse>
void parseTexts(const QByteArray &bytes)
{
    qsizetype letters = 0;
    const Bundle::Texts table = Parse(bytes).value_or(Bundle::Texts());
    for (auto entry = table.cbegin(); entry != table.cend(); ++entry)
        letters += entry.key().size() + entry->size();
    EXPECT_LE(letters, bytes.size());
}

void parseSettings(const QByteArray &bytes)
{
    QString text = QString::fromUtf8(bytes);
    const PenVersions versions = ConfigureService::versions(splitAtNewlines(text));
    text.remove(QChar::Null);
    for (const std::optional<qint64> version : {versions.firmware, versions.image})
        EXPECT_TRUE(!version || text.contains(QString::number(*version))) << *version;
}

/// A piece at a time, the first byte being its length.
void parseRadio(const QByteArray &bytes)
{
    static AddressAssembler assembler;
    for (qsizetype at = 0; at < bytes.size(); at += 1 + static_cast<uchar>(bytes.at(at))) {
        const auto message = PenMessage::parse(bytes.mid(at + 1, static_cast<uchar>(bytes.at(at))));
        assembler.append(message.piece);
        QString text;
        const auto url = message.lastPiece ? assembler.finish(text) : std::nullopt;
        EXPECT_LE(assembler.urlString().size(), AddressAssembler::mostCharacters);
        EXPECT_TRUE(!url || !url->toEncoded().contains('"'));
    }
}

const QByteArray serverTitle = "[" + UpdateRig::title(42, "Drache") + R"(,{"00042":3}])";

class ParserFuzz : public PenTest, public testing::WithParamInterface<Parser>
{
};

/// A file whose reading and parsing are one operation.
template <auto Read>
void parsePenFile(const QByteArray &bytes)
{
    const PenPlaces pen = *PenPlaces::look();
    for (const QUrl &file : {pen.tbdFile(), pen.tbdFile().resolved(QUrl(u"log.txt"_s))})
        FileManager::write(pathOf(file), bytes, FileManager::WriteMode::InPlace);
    for (const QString &mid : Read())
        EXPECT_FALSE(mid.isEmpty() || mid.contains(QChar::Null) || mid.contains(u'\n'));
}

} // namespace

TEST_P(ParserFuzz, LivesWithMutations)
{
    testing::internal::CaptureStdout();
    Mutator mutator(GetParam().good);
    GetParam().parse(GetParam().good);
    for (int i = 0; i < GetParam().rounds && !HasFailure(); ++i) {
        const QByteArray input = mutator.next();
        GetParam().parse(input);
        if (HasFailure())
            ADD_FAILURE() << "input: " << input.toPercentEncoding().constData();
    }
    testing::internal::GetCapturedStdout();
}

INSTANTIATE_TEST_SUITE_P(
    All, ParserFuzz,
    testing::Values(
        Parser{"Metadata",
               "Id: 00042_de\nName: Drache\nPublisher: P\nBook Area Code: de\nType: Buch\n"
               "Book Version: 3\n",
               parseMetadata},
        Parser{"ServerRecords", serverTitle, parseServerRecords},
        Parser{"PropertyList",
               "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>A</key><string>b</string>"
               "<key>C</key><array><integer>7</integer><true/></array></dict></plist>",
               parseTexts<Bundle::parsePropertyList>},
        Parser{"StringTable", R"({"key": "text \u00e4 \n", "b": ""})",
               parseTexts<Bundle::parseStringTable>},
        Parser{"Settings", "firmwareVersion=12\nImageVersion = 7\n", parseSettings},
        Parser{"MountTable", "36 25 8:17 / /media/a\\040b rw,nosuid shared:1 - vfat /dev/sdb1 rw\n",
               parseMounts},
        Parser{"Radio", QByteArray("\x0b\xaa\x02\x00http://a\x08\xaa\x02\x01/b c\"", 21),
               parseRadio},
        Parser{"BodyLength", "1099511627776", parseBodyLength},
        Parser{"ContentRange", "bytes 10-19/20", parseContentRange},
        Parser{"Picture", pngPicture(), parsePicture},
        Parser{"Requests", "MID=42\nMID=1234\r\nMID=\n",
               parsePenFile<ElementUpdateService::readTbdMids>, 300},
        Parser{"UsageLog", "MID=42\nMID=7\0\nDATE=1=2\n", parsePenFile<LogPostService::getLogMids>,
               300}),
    rowName<Parser>);
