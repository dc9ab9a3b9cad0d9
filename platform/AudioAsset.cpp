#include "platform/AudioAsset.h"

#include "platform/FileBytes.h"
#include "platform/FileManager.h"
#include "platform/FilePlace.h"
#include "platform/MpegFrames.h"

#include <QUtf8StringView>

#include <algorithm>
#include <cstring>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2synchdata.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mpegfile.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/tdebuglistener.h>
#include <taglib/textidentificationframe.h>

namespace {

constexpr qint64 id3v1Length = 128;
constexpr qint64 id3v2HeaderLength = 10;
constexpr qint64 longestTag = qint64(4) * 1024 * 1024; ///< what is behind is not looked at
constexpr qint64 longestInfo = 64 * 1024;

bool begins(const uchar *bytes, const char *mark)
{
    return bytes && std::memcmp(bytes, mark, std::strlen(mark)) == 0;
}

QString textOf(const TagLib::String &string)
{
    QString text;
    for (const wchar_t unit : string)
        text += QChar(char16_t(unit));
    return text;
}

std::optional<QString> unlessEmpty(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

class NoListener : public TagLib::DebugListener
{
public:
    void printMessage(const TagLib::String &) override {}
};

/// Lends the name of the header's type, which the library keeps to itself.
class FrameTypes : public TagLib::ID3v2::Frame
{
public:
    using FrameHeader = Header;
};

/// Makes only what is asked for of a tag. Other frames are kept as bytes: a compressed one of some
/// kilobytes could grow to gigabytes.
class ArtistFrames : public TagLib::ID3v2::FrameFactory
{
protected:
    using Header = FrameTypes::FrameHeader;

    bool updateFrame(Header *header) const override
    {
        const TagLib::ByteVector id = header->frameID();
        if ((id == "TPE1" || id == "TP1") && !header->compression())
            return FrameFactory::updateFrame(header);
        if (header->compression())
            header->setData(uncompressedHeader(*header), header->version());
        return false;
    }

private:
    /// The same without its flags.
    static TagLib::ByteVector uncompressedHeader(const Header &header)
    {
        const TagLib::ByteVector size =
            header.version() < 4 ? TagLib::ByteVector::fromUInt(header.frameSize())
                                 : TagLib::ID3v2::SynchData::fromUInt(header.frameSize());
        return header.frameID() + size + TagLib::ByteVector(2, '\0');
    }
};

/// The first name of the tag's first frame of artists.
std::optional<QString> artistIn(const TagLib::ID3v2::Tag &tag)
{
    const TagLib::ID3v2::FrameList frames = tag.frameList("TPE1");
    if (frames.isEmpty())
        return std::nullopt;
    const auto *frame = dynamic_cast<TagLib::ID3v2::TextIdentificationFrame *>(frames.front());
    const TagLib::StringList names = frame ? frame->fieldList() : TagLib::StringList();
    return names.isEmpty() ? std::nullopt : unlessEmpty(textOf(names.front()));
}

/// Of a file that is nothing but its tags: the library searches all that it gets.
std::optional<QString> artistInTags(const QByteArray &tags)
{
    TagLib::ByteVectorStream stream(
        TagLib::ByteVector(tags.constData(), static_cast<unsigned>(tags.size())));
    ArtistFrames frames;
    TagLib::MPEG::File file(&stream, &frames, false);
    if (const TagLib::ID3v2::Tag *tag = file.ID3v2Tag()) {
        if (const std::optional<QString> artist = artistIn(*tag))
            return artist;
    }
    const TagLib::ID3v1::Tag *old = file.ID3v1Tag();
    return old ? unlessEmpty(textOf(old->artist())) : std::nullopt;
}

/// These texts have no encoding; what is no UTF-8 is taken for Latin 1.
class InfoTexts : public TagLib::RIFF::Info::StringHandler
{
public:
    TagLib::String parse(const TagLib::ByteVector &data) const override
    {
        const QByteArray bytes(data.data(),
                               static_cast<qsizetype>(qstrnlen(data.data(), data.size())));
        const bool isUtf8 = QUtf8StringView(bytes).isValidUtf8();
        return {bytes.constData(), isUtf8 ? TagLib::String::UTF8 : TagLib::String::Latin1};
    }
};

std::optional<QString> artistInInfo(const QByteArray &list)
{
    const TagLib::RIFF::Info::Tag tag(
        TagLib::ByteVector(list.constData(), static_cast<unsigned>(list.size())));
    return unlessEmpty(textOf(tag.artist()));
}

/// 0 when there is no tag.
qint64 id3v2Length(FileBytes &bytes, qint64 offset)
{
    constexpr int footerFlag = 0x10;
    const uchar *header = bytes.at(offset, id3v2HeaderLength);
    if (!begins(header, "ID3"))
        return 0;
    qint64 length = 0;
    for (int i = 6; i < id3v2HeaderLength; ++i)
        length = length << 7 | (header[i] & 0x7F);
    const bool hasFooter = header[3] >= 4 && (header[5] & footerFlag) != 0;
    return length + (hasFooter ? 2 : 1) * id3v2HeaderLength;
}

/// Of a tag of another kind that ends here, 0 without: players put loudness into it.
qint64 apeLength(FileBytes &bytes, qint64 end)
{
    constexpr qint64 footerLength = 32;
    const uchar *footer = bytes.at(end - footerLength, footerLength);
    if (!begins(footer, "APETAGEX"))
        return 0;
    const bool hasHeader = (footer[23] & 0x80) != 0;
    return littleEndian(footer + 12) + (hasHeader ? footerLength : 0);
}

/// The audio begins behind the last of the tags at the file's beginning.
qint64 audioBegin(FileBytes &bytes)
{
    constexpr int mostTags = 8;
    qint64 begin = 0;
    for (int i = 0; i < mostTags; ++i) {
        const qint64 length = id3v2Length(bytes, begin);
        if (length == 0)
            break;
        const bool isWhole = begin + length <= bytes.length();
        begin += isWhole ? length : id3v2HeaderLength;
    }
    return begin;
}

AudioAsset mpegAsset(FileBytes &bytes)
{
    const qint64 begin = audioBegin(bytes);
    qint64 end = bytes.length();
    QByteArray tags = bytes.read(0, std::min(id3v2Length(bytes, 0), longestTag));
    const QByteArray last = bytes.read(std::max<qint64>(0, end - id3v1Length), id3v1Length);
    if (end >= begin + id3v1Length && last.startsWith("TAG")) {
        end -= id3v1Length;
        tags += last;
    }
    end -= std::min(apeLength(bytes, end), end - begin);
    AudioAsset asset;
    if (!tags.isEmpty())
        asset.artist = artistInTags(tags);
    asset.duration = mpegDuration(bytes, begin, end);
    return asset;
}

/// What the chunks of a WAV file say.
struct WaveChunks
{
    quint32 byteRate = 0;
    qint64 audio = 0; ///< bytes that are there
    std::optional<QString> artistInTag;
    std::optional<QString> artistInInfo;
};

void readChunk(FileBytes &bytes, qint64 offset, quint32 size, WaveChunks &chunks)
{
    constexpr qint64 formatLength = 16;
    constexpr qint64 chunkHeader = 8;
    const qint64 begin = offset + chunkHeader;
    const QByteArray name = bytes.read(offset, 4).toLower();
    if (name == "fmt ") {
        const uchar *format = bytes.at(begin, formatLength);
        chunks.byteRate = format ? littleEndian(format + 8) : 0;
    } else if (name == "data") {
        const qint64 rest = bytes.length() - begin;
        chunks.audio = size == 0 ? rest : std::min<qint64>(rest, size); // 0: never finished
    } else if (name == "list" && begins(bytes.at(begin, 4), "INFO")) {
        chunks.artistInInfo = artistInInfo(bytes.read(begin, std::min<qint64>(size, longestInfo)));
    } else if (name == "id3 ") {
        chunks.artistInTag = artistInTags(bytes.read(begin, std::min<qint64>(size, longestTag)));
    }
}

AudioAsset waveAsset(FileBytes &bytes)
{
    constexpr int mostChunks = 1000;
    constexpr qint64 chunkHeader = 8;
    WaveChunks chunks;
    qint64 offset = 12;
    for (int i = 0; i < mostChunks; ++i) {
        const uchar *header = bytes.at(offset, chunkHeader);
        if (!header)
            break;
        const quint32 size = littleEndian(header + 4);
        readChunk(bytes, offset, size, chunks);
        offset += chunkHeader + size + size % 2;
    }
    AudioAsset asset;
    asset.artist = chunks.artistInTag ? chunks.artistInTag : chunks.artistInInfo;
    if (chunks.byteRate > 0)
        asset.duration = double(chunks.audio) / chunks.byteRate;
    return asset;
}

/// Once for the whole program.
void setUpLibrary()
{
    static NoListener listener;
    static const InfoTexts texts;
    [[maybe_unused]] static const bool isSetUp = [] {
        TagLib::setDebugListener(&listener);
        TagLib::RIFF::Info::Tag::setStringHandler(&texts);
        return true;
    }();
}

} // namespace

std::optional<AudioAsset> AudioAsset::read(const QString &path)
{
    setUpLibrary();
    struct stat status = {};
    Descriptor file = FileManager::placeOf(path).openForReading(status);
    if (!file.isOpen())
        return std::nullopt;
    FileBytes bytes(std::move(file), status.st_size);
    const bool isWave = begins(bytes.at(0, 12), "RIFF") && begins(bytes.at(8, 4), "WAVE");
    return isWave ? waveAsset(bytes) : mpegAsset(bytes);
}
