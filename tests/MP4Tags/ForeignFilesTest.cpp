// Edits of files that other programs wrote: every layout they use is edited without touching a
// packet or another program's item, and what cannot be edited safely is left byte for byte.
#include "MP4Tags/MP4Tags.h"
#include "MP4Tags/MP4TestFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtEndian>
#include <functional>
#include <gtest/gtest.h>
#include <mp4coverart.h>
#include <mp4file.h>
#include <mp4tag.h>
#include <tpropertymap.h>

using namespace spindrel;
using namespace mp4test;

namespace {

const QString LongTitle =
    QStringLiteral("A title far longer than any the other program wrote – ").repeated(4);
const QString ShortTitle = QStringLiteral("Short");

QByteArray ffmpegFile(const char* name, const QStringList& arguments)
{
    return readFile(
        madeOnce(QString::fromLatin1(name), [&](const QString& path) { makeFFmpegFile(path, arguments); }));
}

QByteArray video(bool moovFirst)
{
    QStringList arguments = words("-f lavfi -i testsrc=size=64x48:rate=10:duration=0.5 -f lavfi -i "
                                  "sine=duration=0.5 -c:v mpeg4 -c:a aac -f mp4");
    if (moovFirst)
        arguments << words("-movflags +faststart");
    return ffmpegFile(moovFirst ? "video-first.mp4" : "video-last.mp4", arguments);
}

// ffmpeg's mp4 and ipod muxers write the chapters as a text track.
QByteArray chaptered(bool moovFirst)
{
    const QString chapters = madeOnce(QStringLiteral("chapters.txt"), [](const QString& path) {
        writeFile(path, ";FFMETADATA1\ntitle=Chaptered\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=250\n"
                        "title=First\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=250\nEND=500\ntitle=Second\n");
    });
    return ffmpegFile(moovFirst ? "chapters-first.m4a" : "chapters-last.m4a",
                      words("-f lavfi -i sine=duration=0.5 -i")
                          << chapters << words("-map 0 -map_metadata 1 -map_chapters 1 -c:a aac")
                          << words(moovFirst ? "-f mp4 -movflags +faststart" : "-f ipod"));
}

// Tagged twice: AtomicParsley adds its padding (inside 'meta' and after 'moov') on the second pass.
QByteArray atomicParsleyFile()
{
    return readFile(madeOnce(QStringLiteral("atomicparsley.m4a"), [](const QString& path) {
        writeFile(path, toneFile("aac"));
        for (const char* arguments :
             {"--title x --artist y --tracknum 3/9 --freefree 1", "--comment AtomicParsley's-comment"}) {
            QByteArray output;
            if (run(QStringLiteral("AtomicParsley"),
                    QStringList{path} + words(arguments) << QStringLiteral("--overWrite"), &output,
                    &output) != 0)
                throw std::runtime_error("AtomicParsley failed: " + output.toStdString());
        }
    }));
}

// mutagen leaves a 'free' box after 'ilst' and writes freeform items.
const char* const MutagenTagging = R"py(import sys, mutagen.mp4 as m
f = m.MP4(sys.argv[1])
f["\xa9nam"] = "by mutagen"
f["trkn"] = [(2, 5)]
f["----:com.apple.iTunes:MYKEY"] = [m.MP4FreeForm(b"my value")]
f.save())py";

QByteArray mutagenFile(bool moovFirst)
{
    const auto make = [moovFirst](const QString& path) {
        writeFile(path, toneFile("aac", moovFirst));
        QByteArray errors;
        if (run(QStringLiteral("/usr/bin/python3"),
                {QStringLiteral("-c"), QString::fromLatin1(MutagenTagging), path}, nullptr, &errors) != 0)
            throw std::runtime_error("mutagen failed: " + errors.toStdString());
    };
    return readFile(
        madeOnce(moovFirst ? QStringLiteral("mutagen-first.m4a") : QStringLiteral("mutagen-last.m4a"), make));
}

bool moovFirst(const QByteArray& file)
{
    return topLevelBox(file, "moov").offset < topLevelBox(file, "mdat").offset;
}

void resize(QByteArray& file, const QList<Span>& boxes, qint64 delta)
{
    for (const Span& box : boxes)
        file.replace(box.offset, 4, be32(quint32(box.size + delta)));
}

// Every track's 'stco' turned into the 'co64' with the same entries.
QByteArray withCo64(QByteArray file)
{
    const bool mediaFollows = moovFirst(file);
    const Span moov = findAtom(file, {"moov"});
    const QList<BoxAt> children = boxesIn(file, moov.offset + 8, moov.offset + moov.size);
    qint64 growth = 0;
    // From the last track back, so that the boxes before stay where they were found.
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        const Span mdia = findAtom(file, {"mdia"}, child->span());
        const Span minf = findAtom(file, {"minf"}, mdia);
        const Span stbl = findAtom(file, {"stbl"}, minf);
        const Span stco = findAtom(file, {"stco"}, stbl);
        if (child->type != "trak" || stco.offset < 0)
            continue;
        const quint32 count = qFromBigEndian<quint32>(file.constData() + stco.offset + 12);
        QByteArray entries = be32(0) + be32(count);
        for (quint32 i = 0; i < count; ++i)
            entries += be64(qFromBigEndian<quint32>(file.constData() + stco.offset + 16 + 4 * i));
        file.replace(stco.offset, stco.size, box("co64", entries));
        resize(file, {child->span(), mdia, minf, stbl}, 4 * count);
        growth += 4 * count;
    }
    resize(file, {moov}, growth);
    if (mediaFollows)
        shiftChunkOffsets(file, growth);
    return file;
}

QByteArray withMdatToTheEnd(QByteArray file)
{
    if (topLevelBox(file, "mdat").offset + topLevelBox(file, "mdat").size != file.size())
        throw std::runtime_error("'mdat' is not the last box");
    return file.replace(topLevelBox(file, "mdat").offset, 4, be32(0));
}

QByteArray with64BitMdat(QByteArray file)
{
    // ffmpeg writes 8 bytes of 'free' before 'mdat' to make room for this very header.
    const BoxAt mdat = topLevelBox(file, "mdat");
    if (file.mid(mdat.offset - 8, 8) != box("free"))
        throw std::runtime_error("no 'free' before 'mdat'");
    return file.replace(mdat.offset - 8, 16, QByteArray(be32(1) + "mdat" + be64(mdat.size + 8)));
}

// QuickTime ends 'udta' with a 32-bit zero.
QByteArray withUdtaTerminator(QByteArray file)
{
    const bool mediaFollows = moovFirst(file);
    const Span moov = findAtom(file, {"moov"});
    const Span udta = findAtom(file, {"moov", "udta"});
    file.insert(udta.offset + udta.size, be32(0));
    resize(file, {moov, udta}, 4);
    if (mediaFollows)
        shiftChunkOffsets(file, 4);
    return file;
}

std::string json(const QJsonValue& value)
{
    return (value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject()))
        .toJson(QJsonDocument::Compact)
        .toStdString();
}

std::string text(const std::optional<QString>& value)
{
    return value ? value->toStdString() : "<none>";
}

// TagLib's properties as {"KEY": [values]}, with its first cover art.
QJsonObject tagLibProperties(const QString& path, QByteArray* cover)
{
    TagLib::MP4::File file(QFile::encodeName(path).constData());
    if (!file.isValid())
        return {{QStringLiteral("error"), QStringLiteral("TagLib cannot read the file")}};
    QJsonObject properties;
    const TagLib::PropertyMap map = file.properties();
    for (auto property = map.begin(); property != map.end(); ++property) {
        QJsonArray values;
        for (const TagLib::String& value : property->second)
            values << QString::fromStdString(value.to8Bit(true));
        properties[QString::fromStdString(property->first.to8Bit(true))] = values;
    }
    const auto covers = file.tag()->item("covr").toCoverArtList();
    *cover = covers.isEmpty() || covers.front().format() != TagLib::MP4::CoverArt::PNG
                 ? QByteArray()
                 : QByteArray(covers.front().data().data(), int(covers.front().data().size()));
    return properties;
}

struct Kind
{
    const char* name;
    std::function<QByteArray()> bytes;
    // 'udta' ends in QuickTime's terminator: mutagen refuses it, and TagLib too at the end of the file.
    bool udtaTerminator = false;
    // No padding anywhere: the first growth has to move the media and every chunk offset.
    bool mediaMoves = false;
};

void PrintTo(const Kind& kind, std::ostream* out)
{
    *out << kind.name;
}

class ForeignFilesTest : public ::testing::Test
{
protected:
    QString fileWith(const QByteArray& bytes)
    {
        writeFile(mPath, bytes);
        return mPath;
    }

    QTemporaryDir mDir;
    QString mPath = mDir.filePath(QStringLiteral("tape.m4a"));
};

class ForeignFileEdits : public ForeignFilesTest, public ::testing::WithParamInterface<Kind>
{
protected:
    void SetUp() override
    {
        const QByteArray bytes = GetParam().bytes();
        fileWith(bytes);
        mMedia = topLevelBox(bytes, "mdat").payload();
        mOffsets = trackChunkOffsets(bytes);
        mPackets = packetDigest(mPath);
        const QJsonObject probed = probeFile(mPath);
        mFormatTags = probed[QStringLiteral("format")][QStringLiteral("tags")].toObject();
        mChapters = probed[QStringLiteral("chapters")].toArray();
        QByteArray cover;
        mTagLib = tagLibProperties(mPath, &cover);
        mMutagen = mutagenTags(mPath);
        ASSERT_FALSE(mOffsets.isEmpty());
        ASSERT_FALSE(mPackets.isEmpty());
        mTagLibReads = !mTagLib.contains(QStringLiteral("error"));
        mMutagenReads = !mMutagen.contains(QStringLiteral("error"));
        ASSERT_TRUE(mTagLibReads || GetParam().udtaTerminator) << json(mTagLib);
        ASSERT_TRUE(mMutagenReads || GetParam().udtaTerminator) << json(mMutagen);
    }

    // Checks the file after an edit to `title` and `cover`; returns where the media now starts.
    qint64 expectEdited(const QString& title, const QByteArray& cover)
    {
        const QByteArray bytes = readFile(mPath);
        const qint64 media = topLevelBox(bytes, "mdat").payload();
        QList<QList<quint64>> expected = mOffsets;
        for (QList<quint64>& track : expected)
            for (quint64& offset : track)
                offset += quint64(media - mMedia);
        EXPECT_EQ(trackChunkOffsets(bytes), expected) << "the media moved by " << media - mMedia;
        EXPECT_EQ(packetDigest(mPath).toStdString(), mPackets.toStdString());

        const auto tags = MP4Tags::fromFile(mPath);
        EXPECT_EQ(text(tags->title()), title.toStdString());
        EXPECT_TRUE(tags->coverArt() == cover);

        const QJsonObject probed = probeFile(mPath);
        QJsonObject formatTags = mFormatTags;
        formatTags[QStringLiteral("title")] = title;
        EXPECT_EQ(json(probed[QStringLiteral("format")][QStringLiteral("tags")]), json(formatTags));
        EXPECT_EQ(json(probed[QStringLiteral("chapters")]), json(mChapters));
        int pictures = 0;
        for (const QJsonValue& stream : probed[QStringLiteral("streams")].toArray())
            pictures += stream[QStringLiteral("disposition")][QStringLiteral("attached_pic")].toInt() == 1 &&
                        stream[QStringLiteral("codec_name")].toString() == QStringLiteral("png");
        EXPECT_EQ(pictures, 1);

        if (mTagLibReads) {
            QByteArray tagLibCover;
            QJsonObject properties = mTagLib;
            properties[QStringLiteral("TITLE")] = QJsonArray{title};
            EXPECT_EQ(json(tagLibProperties(mPath, &tagLibCover)), json(properties));
            EXPECT_TRUE(tagLibCover == cover) << "TagLib's cover art has " << tagLibCover.size() << " bytes";
        }
        if (mMutagenReads) {
            QJsonObject items = mMutagen;
            items[QString(QChar(0xA9)) + QStringLiteral("nam")] = QJsonArray{title};
            items[QStringLiteral("covr")] = QJsonArray{QStringLiteral("cover 14 %1").arg(cover.size())};
            EXPECT_EQ(json(mutagenTags(mPath)), json(items));
        }
        return media;
    }

    qint64 mMedia = 0;
    QList<QList<quint64>> mOffsets;
    QByteArray mPackets;
    QJsonObject mFormatTags;
    QJsonArray mChapters;
    QJsonObject mTagLib;
    QJsonObject mMutagen;
    bool mTagLibReads = false;
    bool mMutagenReads = false;
};

} // namespace

TEST_P(ForeignFileEdits, GrowingAndShrinkingKeepEveryPacketAndTheOtherProgramsItems)
{
    const QByteArray cover = coverPng();
    auto tags = MP4Tags::fromFile(mPath);
    ASSERT_TRUE(tags);
    tags->beginEdit();
    EXPECT_TRUE(tags->setTitle(LongTitle));
    EXPECT_TRUE(tags->setCoverArt(cover));
    ASSERT_TRUE(tags->save()) << tags->errorString().toStdString();
    EXPECT_TRUE(tags->errorString().isEmpty());
    const qint64 mediaAfterGrowth = expectEdited(LongTitle, cover);
    if (GetParam().mediaMoves) {
        EXPECT_NE(mediaAfterGrowth, mMedia);
    }

    // The growth left room for the next one: a few bytes more do not move the media again.
    const QString longer = LongTitle + QStringLiteral("+++");
    ASSERT_TRUE(tags->setTitle(longer)) << tags->errorString().toStdString();
    EXPECT_EQ(expectEdited(longer, cover), mediaAfterGrowth);

    tags = MP4Tags::fromFile(mPath);
    ASSERT_TRUE(tags->setTitle(ShortTitle)) << tags->errorString().toStdString();
    EXPECT_TRUE(tags->errorString().isEmpty());
    expectEdited(ShortTitle, cover);
}

INSTANTIATE_TEST_SUITE_P(
    OtherPrograms, ForeignFileEdits,
    ::testing::Values(
        Kind{"FFmpegAACMoovLast", [] { return toneFile("aac"); }},
        Kind{"FFmpegAACMoovFirst", [] { return toneFile("aac", true); }},
        Kind{"FFmpegALACMoovLast", [] { return toneFile("alac"); }},
        Kind{"FFmpegALACMoovFirst", [] { return toneFile("alac", true); }},
        Kind{"ChapterTextTrackMoovLast", [] { return chaptered(false); }},
        Kind{"ChapterTextTrackMoovFirst", [] { return chaptered(true); }},
        Kind{"VideoAndAudioMoovLast", [] { return video(false); }},
        Kind{"VideoAndAudioMoovFirst", [] { return video(true); }},
        Kind{"AtomicParsleyWithPadding", atomicParsleyFile},
        Kind{"MutagenMoovLast", [] { return mutagenFile(false); }},
        Kind{"MutagenMoovFirst", [] { return mutagenFile(true); }},
        Kind{"Co64MoovLast", [] { return withCo64(video(false)); }},
        Kind{.name = "Co64MoovFirst", .bytes = [] { return withCo64(video(true)); }, .mediaMoves = true},
        Kind{"MdatToTheEndOfTheFileMoovFirst", [] { return withMdatToTheEnd(toneFile("aac", true)); }},
        Kind{"Mdat64BitSizeMoovLast", [] { return with64BitMdat(toneFile("aac")); }},
        Kind{"Mdat64BitSizeMoovFirst", [] { return with64BitMdat(toneFile("aac", true)); }},
        Kind{.name = "UdtaZeroTerminatorMoovLast",
             .bytes = [] { return withUdtaTerminator(toneFile("aac")); },
             .udtaTerminator = true},
        Kind{.name = "UdtaZeroTerminatorMoovFirst",
             .bytes = [] { return withUdtaTerminator(toneFile("aac", true)); },
             .udtaTerminator = true}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST_F(ForeignFilesTest, FragmentedFilesAreRefusedAndLeftAsTheyWere)
{
    const QByteArray bytes = ffmpegFile(
        "fragmented.m4a", words("-f lavfi -i sine=duration=0.5 -c:a aac -movflags frag_keyframe+empty_moov"));
    ASSERT_GE(topLevelBox(bytes, "moof").offset, 0);
    const QString reason = QStringLiteral("fragmented files cannot be edited yet");
    auto tags = MP4Tags::fromFile(fileWith(bytes));
    EXPECT_FALSE(tags->setTitle(LongTitle));
    EXPECT_TRUE(tags->errorString().contains(reason)) << tags->errorString().toStdString();
    EXPECT_TRUE(readFile(mPath) == bytes);

    tags->beginEdit();
    tags->setTitle(LongTitle);
    tags->setCoverArt(coverPng());
    EXPECT_FALSE(tags->save());
    EXPECT_TRUE(tags->errorString().contains(reason)) << tags->errorString().toStdString();
    EXPECT_TRUE(readFile(mPath) == bytes);
}

TEST_F(ForeignFilesTest, FilesCutInsideTheirHeadersAreReadAndNeverWritten)
{
    for (const bool first : {true, false}) {
        const QByteArray whole = first ? toneFile("aac", true) : toneFile("aac");
        const Span moov = findAtom(whole, {"moov"});
        ASSERT_GE(moov.offset, 0);
        QStringList faults;
        for (qint64 cut = moov.offset + 1; cut < moov.offset + moov.size; cut += 7) {
            const QByteArray bytes = whole.left(cut);
            const QString at =
                QStringLiteral("cut at %1 of 'moov' %2+%3: ").arg(cut).arg(moov.offset).arg(moov.size);
            try {
                auto tags = MP4Tags::fromFile(fileWith(bytes));
                tags->title();
                tags->coverArt();
                if (tags->setTitle(LongTitle))
                    faults << at + QStringLiteral("written");
                else if (!tags->errorString().contains(QStringLiteral("damaged"), Qt::CaseInsensitive))
                    faults << at + QStringLiteral("reason '%1'").arg(tags->errorString());
                if (readFile(mPath) != bytes)
                    faults << at + QStringLiteral("changed");
            } catch (const std::exception& error) {
                faults << at + QStringLiteral("threw ") + QString::fromUtf8(error.what());
            } catch (...) {
                faults << at + QStringLiteral("threw");
            }
        }
        EXPECT_TRUE(faults.isEmpty())
            << (first ? "moov first: " : "moov last: ") << faults.size() << " faults\n"
            << faults.mid(0, 12).join(u'\n').toStdString();
    }
}
