#include "platform/AudioAsset.h"

#include "tests/support/AudioFiles.h"
#include "tests/support/Rows.h"

#include <QFile>
#include <QTemporaryDir>

#include <cmath>
#include <fstream>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

class AudioAssetTest : public testing::Test
{
protected:
    [[nodiscard]] std::optional<AudioAsset> read(const QByteArray &bytes) const
    {
        QFile file(m_directory.filePath(u"song"_s));
        if (file.open(QFile::WriteOnly))
            file.write(bytes);
        file.close();
        return AudioAsset::read(file.fileName());
    }

private:
    QTemporaryDir m_directory;
};

/// 2316 frames are half a second more than a minute, which 2297 just reach.
TEST_F(AudioAssetTest, DurationIsThatOfTheAudioThatIsThere)
{
    struct Row
    {
        const char *name;
        QByteArray bytes;
        int seconds;
    };
    const QByteArray constant = mpegFrames(2316);
    const QByteArray changing = mpegFrames(2316, {32, 128, 320, 96});
    const QByteArray late = mpegFrames(1000) + mpegFrames(316, {320}) + mpegFrames(1000);
    const auto header = [&changing](const char *mark, int frames) {
        const qsizetype own = mpegHeader(mark, 0, 0).size();
        return mpegHeader(mark, quint32(frames), quint32(own + changing.size()));
    };
    const auto frame = [](const char *head) {
        return QByteArray::fromHex(head).leftJustified(208, '\0');
    };
    const QByteArray wave = waveFile(8'000, 8'000 * 61);
    const QByteArray tag = id3v2(3, id3Frame("TIT2", QByteArray(100, 'x')));
    const QByteArray ape =
        "APETAGEX" + QByteArray::fromHex("d0070000200000000000000000000000") + QByteArray(8, '\0');
    forEachRow<Row>(
        {{"less than a minute", mpegFrames(2293), 59},
         {"just a minute", mpegFrames(2297), 60},
         {"one bit rate", constant, 60},
         {"one bit rate, never padded", mpegFrames(1, {128}).repeated(2316), 60},
         {"half the sample rate", frame("fff380c4").repeated(2316), 60},
         {"a quarter of the sample rate", frame("ffe340c4").repeated(1158), 60},
         {"frames of all lengths", changing, 60},
         {"another bit rate in the middle", late, 60},
         {"with Xing", header("Xing", 2336) + changing, 61},
         {"with Info", header("Info", 2336) + changing, 61},
         {"with VBRI", header("VBRI", 2336) + changing, 61},
         {"Xing of a longer file", header("Xing", 2316) + changing.first(changing.size() / 2), 30},
         {"Xing of a shorter file", header("Xing", 2316) + changing + changing, 120},
         {"Xing that promises too much", header("Xing", 0x7FFFFFFF) + changing, 60},
         {"cut in half", constant.first(constant.size() / 2), 30},
         {"between tags", tag + tag + constant + id3v1("x"), 60},
         {"before a tag that is large", constant + QByteArray(2000 - 32, '\xFF') + ape, 60},
         {"behind what is no audio", QByteArray(300'000, '\xFF') + constant, 60},
         {"around what is no audio", constant + QByteArray(300'000, '\0') + constant, 120},
         {"behind a tag longer than the file",
          QByteArray("ID3\3\0\0\x7F\x7F\x7F\x7F", 10) + constant, 60},
         {"WAV", wave, 61},
         {"WAV cut in half", wave.first(wave.size() / 2), 30},
         {"WAV never finished", QByteArray(wave).replace(40, 4, QByteArray(4, '\0')), 61},
         {"WAV that tells no rate", waveFile(0, 8'000), 0},
         {"WAV with a chunk longer than the file",
          waveFile(8'000, 8'000).replace(16, 4, QByteArray(4, '\xFF')), 0},
         {"nothing", {}, 0},
         {"noise", QByteArray(1'000'000, '\xFF'), 0},
         {"half a header", constant.first(2), 0}},
        [this](const Row &row) {
            const auto asset = read(row.bytes);
            ASSERT_TRUE(asset);
            EXPECT_EQ(std::floor(asset->duration), row.seconds);
            EXPECT_EQ(asset->artist.value_or(u"x"_s).size(), 1);
        });
}

TEST_F(AudioAssetTest, ArtistIsTheFirstNameThatIsTold)
{
    struct Row
    {
        const char *name;
        QByteArray bytes;
        std::optional<QString> artist;
    };
    const auto artist = [](const QByteArray &content) {
        return id3Frame("TPE1", content);
    };
    const QByteArray tag = id3v2(4, artist("\3Kapelle"));
    const QByteArray utf16 = QByteArray::fromHex("01fffe4200e4007200");
    const QByteArray wide = QByteArray::fromHex("013cd8b5df").insert(1, "\xFF\xFE");
    forEachRow<Row>(
        {{"old tag", id3v1("Kapelle"), u"Kapelle"_s},
         {"2.3, UTF-16", id3v2(3, id3Frame("TIT2", QByteArray("\0x", 2)) + artist(utf16)),
          u"Bär"_s},
         {"UTF-16 beyond the first plane", id3v2(3, artist(wide)), u"🎵"_s},
         {"2.4, UTF-8", id3v2(4, artist("\3Bär")), u"Bär"_s},
         {"2.4, several", id3v2(4, artist(QByteArray("\3Eins\0Zwei", 10))), u"Eins"_s},
         {"2.2", id3v2(2, "TP1" + QByteArray("\0\0\4\0Abc", 7)), u"Abc"_s},
         {"both tags", tag + id3v1("Alt"), u"Kapelle"_s},
         {"empty before an old one", id3v2(4, artist("\3")) + id3v1("Alt"), u"Alt"_s},
         {"empty", id3v2(4, artist("\3")) + id3v1(""), std::nullopt},
         {"INFO", waveFile(8, 8, infoChunk("Kapelle")), u"Kapelle"_s},
         {"INFO in UTF-8", waveFile(8, 8, infoChunk("Bär 🎵")), u"Bär 🎵"_s},
         {"INFO in Latin 1", waveFile(8, 8, infoChunk("B\xE4r")), u"Bär"_s},
         {"tag in a chunk",
          waveFile(8, 8, riffChunk("odd ", "x") + infoChunk("Alt") + riffChunk("id3 ", tag)),
          u"Kapelle"_s},
         {"WAV without", waveFile(8, 8), std::nullopt},
         {"a frame longer than its tag", id3v2(3, "TPE1\x7F\x7F\x7F\x7F" + QByteArray(20, 'x')),
          std::nullopt}},
        [this](const Row &row) {
            testing::internal::CaptureStderr();
            const auto asset = read(row.bytes);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
            ASSERT_TRUE(asset);
            EXPECT_EQ(asset->artist, row.artist);
        });
}

/// The most memory that `work` needs at once, in KiB.
template <typename Work>
long memoryOf(const Work &work)
{
    const auto peak = [] {
        rusage usage = {};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    std::ofstream("/proc/self/clear_refs") << 5; // the peak is now
    const long before = peak();
    work();
    return peak() - before;
}

TEST_F(AudioAssetTest, CompressedFramesDoNotGrow)
{
    // Its length stands before it, as in a tag.
    const QByteArray packed = qCompress(QByteArray(60'000'000, '\0'));
    const QByteArray last = id3Frame("TPE1", "\3Kapelle");
    for (const char *id : {"TXXX", "TPE1"}) {
        const QByteArray old = id3v2(3, id3Frame(id, packed, '\x80') + last);
        QByteArray frame = id3Frame(id, packed, '\x09');
        frame.replace(4, 4, safeNumber(packed.size()));
        for (const QByteArray &tag : {old, id3v2(4, frame + last)}) {
            EXPECT_LT(memoryOf([&] { EXPECT_TRUE(read(tag)); }), 20'000) << id;
        }
    }
}

} // namespace
