#include "MP4Tags/MP4Tags.h"

#include "MP4Tags/MP4TestFiles.h"
#include "foundation/Log.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <mp4coverart.h>
#include <mp4file.h>
#include <mp4tag.h>

using namespace spindrel;
using namespace mp4test;

namespace {

const QList<QByteArray> Ilst{"moov", "udta", "meta", "ilst"};

class MP4TagsTest : public ::testing::Test
{
protected:
    QString fileWith(const QByteArray& bytes)
    {
        const QString path = mDir.filePath(QStringLiteral("tape.m4a"));
        writeFile(path, bytes);
        return path;
    }

    void SetUp() override
    {
        mPreviousSink = setLogSink([this](const QString& line) { mLogged << line; });
    }
    void TearDown() override { setLogSink(mPreviousSink); }

    QTemporaryDir mDir;
    QStringList mLogged;
    LogSink mPreviousSink;
};

// Only chunk offsets tables and the sizes along them, under a moov with no tags at all.
QByteArray fileWithChunkTable(const QByteArray& table, bool audioFirst)
{
    const QByteArray moov = box("moov", box("mvhd", QByteArray(100, '\0')) +
                                            box("trak", box("mdia", box("minf", box("stbl", table)))));
    const QByteArray mdat = box("mdat", QByteArray(64, 'a'));
    return box("ftyp", "M4A ") + (audioFirst ? mdat + moov : moov + mdat);
}

} // namespace

TEST_F(MP4TagsTest, EveryTagReadsTheSameInFFprobeAndTagLib)
{
    // Tags first, so the audio moves; every layout of every codec is edited in the foreign files' test.
    const QString path = fileWith(toneFile("aac", true));
    const QByteArray audio = decodedAudioDigest(path);
    ASSERT_FALSE(audio.isEmpty());

    const struct
    {
        bool (MP4Tags::*set)(const QString&);
        std::optional<QString> (MP4Tags::*get)() const;
        const char* probeKey;
        const char* tagLibKey;
        QString value;
    } texts[] = {
        {&MP4Tags::setTitle, &MP4Tags::title, "title", "\251nam",
         QStringLiteral("Kassette Nº 1 – “Ünïcode” 🎵")},
        {&MP4Tags::setArtist, &MP4Tags::artist, "artist", "\251ART", QStringLiteral("Ada")},
        {&MP4Tags::setAlbum, &MP4Tags::album, "album", "\251alb", QStringLiteral("Side A")},
        {&MP4Tags::setLyrics, &MP4Tags::lyrics, "lyrics", "\251lyr", QStringLiteral("line one\nline two")},
        {&MP4Tags::setComment, &MP4Tags::comment, "comment", "\251cmt", QStringLiteral("a comment")},
        {&MP4Tags::setReleaseDate, &MP4Tags::releaseDate, "date", "\251day",
         QStringLiteral("2024-03-05 10:20:30 +0100")},
    };
    const QByteArray cover = coverPng();
    {
        auto tags = MP4Tags::fromFile(path);
        for (const auto& text : texts)
            EXPECT_TRUE(((*tags).*text.set)(text.value));
        EXPECT_TRUE(tags->setCoverArt(cover));
    }
    auto tags = MP4Tags::fromFile(path);
    const QJsonObject probed = probeFile(path)[QStringLiteral("format")][QStringLiteral("tags")].toObject();
    TagLib::MP4::File file(QFile::encodeName(path).constData());
    ASSERT_TRUE(file.isValid());
    for (const auto& text : texts) {
        EXPECT_EQ(((*tags).*text.get)(), text.value);
        EXPECT_EQ(probed[QLatin1String(text.probeKey)].toString(), text.value);
        EXPECT_EQ(
            QString::fromStdString(file.tag()->item(text.tagLibKey).toStringList().toString().to8Bit(true)),
            text.value);
    }
    EXPECT_EQ(tags->coverArt(), cover);
    const auto covers = file.tag()->item("covr").toCoverArtList();
    ASSERT_EQ(covers.size(), 1u);
    EXPECT_EQ(covers.front().format(), TagLib::MP4::CoverArt::PNG);
    EXPECT_EQ(QByteArray(covers.front().data().data(), int(covers.front().data().size())), cover);

    EXPECT_EQ(decodedAudioDigest(path), audio); // the chunk offsets moved exactly with the audio
    EXPECT_TRUE(mLogged.isEmpty()) << mLogged.join(u'\n').toStdString();
}

TEST_F(MP4TagsTest, MissingContainersAreMadeAndTheAudioFollows)
{
    // An ffmpeg file with its whole 'udta' cut out by hand, audio offsets corrected.
    QByteArray bytes = readFile(fileWith(toneFile("aac", true)));
    const Span udta = findAtom(bytes, {"moov", "udta"});
    const Span moov = findAtom(bytes, {"moov"});
    const Span stco = findAtom(bytes, {"moov", "trak", "mdia", "minf", "stbl", "stco"});
    ASSERT_GE(udta.offset, 0);
    ASSERT_GT(udta.offset, stco.offset);
    bytes.remove(udta.offset, udta.size);
    bytes.replace(moov.offset, 4, be32(moov.size - udta.size));
    bytes.replace(stco.offset + 16, 4, be32(chunkOffsets(bytes).front() - udta.size));
    const QString path = fileWith(bytes);
    const QByteArray audio = decodedAudioDigest(path);
    ASSERT_FALSE(audio.isEmpty());

    ASSERT_TRUE(MP4Tags::fromFile(path)->setTitle(QStringLiteral("T")));
    const QByteArray after = readFile(path);
    // udta 8 + meta 12 + hdlr 34 + ilst 8, and the 25-byte item.
    EXPECT_EQ(findAtom(after, {"moov"}).size, moov.size - udta.size + 62 + 25);
    const qint64 moved = findAtom(after, {"mdat"}).offset - findAtom(bytes, {"mdat"}).offset;
    EXPECT_GT(moved, 62 + 25);
    EXPECT_EQ(chunkOffsets(after).front(), chunkOffsets(bytes).front() + moved);
    EXPECT_EQ(after.mid(findAtom(after, {"moov", "udta"}).offset),
              box("udta",
                  box("meta", be32(0) + box("hdlr", QByteArray(8, '\0') + "mdirappl" + QByteArray(10, '\0')) +
                                  box("ilst", box("\xA9nam", box("data", be32(1) + be32(0) + "T")))))
                  .append(after.mid(findAtom(after, {"free"}).offset)));
    EXPECT_EQ(decodedAudioDigest(path), audio);
}

TEST_F(MP4TagsTest, EveryChunkOffsetOfEveryTableMovesWithTheAudio)
{
    const QByteArray stco = box("stco", be32(0) + be32(3) + be32(1000) + be32(2000) + be32(3000));
    const QByteArray co64 = box("co64", be32(0) + be32(3) + be64(1000) + be64(2000) + be64(3000));
    const auto edited = [&](const QByteArray& tables, bool audioFirst) {
        const QByteArray before = fileWithChunkTable(tables, audioFirst);
        const QString path = fileWith(before);
        EXPECT_TRUE(MP4Tags::fromFile(path)->setTitle(QStringLiteral("T")));
        const QByteArray after = readFile(path);
        return std::pair{findAtom(after, {"mdat"}).offset - findAtom(before, {"mdat"}).offset, after};
    };
    // Every entry of a 64-bit table moves, the first one too: a file whose audio is one chunk
    // would otherwise lose all of it.
    for (const QByteArray& table : {stco, co64}) {
        const auto [moved, after] = edited(table, false);
        EXPECT_GT(moved, 62 + 25);
        const quint64 by = quint64(moved);
        EXPECT_EQ(chunkOffsets(after), (QList<quint64>{1000 + by, 2000 + by, 3000 + by}));
        EXPECT_EQ(chunkOffsets(edited(table, true).second), (QList<quint64>{1000, 2000, 3000}));
    }
    // A 32-bit table whose offsets would pass 4 GiB becomes a 64-bit one.
    const auto [moved, after] = edited(box("stco", be32(0) + be32(1) + be32(0xFFFFFFF0)), false);
    EXPECT_GE(findAtom(after, {"moov", "trak", "mdia", "minf", "stbl", "co64"}).offset, 0);
    EXPECT_EQ(chunkOffsets(after), (QList<quint64>{0xFFFFFFF0ull + quint64(moved)}));
    // Without a table nothing needs to move while the audio comes first.
    EXPECT_TRUE(edited(box("stsz"), true).second.size() > 0);
    EXPECT_TRUE(mLogged.isEmpty());
}

TEST_F(MP4TagsTest, FreeSpaceAroundAndInsideTheTagsIsUsedBeforeAnyAudioMoves)
{
    const QByteArray ftyp = box("ftyp", "M4A ");
    const QByteArray mvhd = box("mvhd", QByteArray(100, '\0'));
    const QByteArray hdlr = box("hdlr", QByteArray(8, '\0') + "mdirappl" + QByteArray(10, '\0'));
    const QByteArray title = box("\xA9nam", box("data", be32(1) + be32(0) + "old"));
    const QByteArray mdat = box("mdat", QByteArray(4000, 'a'));
    const auto file = [&](const QByteArray& innerFree, const QByteArray& outerFree,
                          const QByteArray& terminator) -> QByteArray {
        const auto moovWith = [&](quint32 audioAt) -> QByteArray {
            const QByteArray stco = box("stco", be32(0) + be32(1) + be32(audioAt));
            return box("moov", mvhd + box("trak", box("mdia", box("minf", box("stbl", stco)))) +
                                   box("udta", box("meta", be32(0) + hdlr + box("ilst", title) + innerFree) +
                                                   terminator));
        };
        const qsizetype audioAt = ftyp.size() + moovWith(0).size() + outerFree.size() + 8;
        return ftyp + moovWith(quint32(audioAt)) + outerFree + mdat;
    };
    const QString longTitle = QStringLiteral("a title that is forty bytes long, or so");
    const struct
    {
        const char* name;
        QByteArray bytes;
        bool terminated = false;
    } cases[] = {
        {"free-after-moov", file({}, box("free", QByteArray(3000, '\0')), {})},
        {"free-inside-meta", file(box("free", QByteArray(200, '\0')), {}, {})},
        {"quicktime-terminator", file({}, box("free", QByteArray(100, '\0')), be32(0)), true},
    };
    for (const auto& layout : cases) {
        SCOPED_TRACE(layout.name);
        const QString path = fileWith(layout.bytes);
        auto tags = MP4Tags::fromFile(path);
        ASSERT_TRUE(tags->setTitle(longTitle)) << tags->errorString().toStdString();
        ASSERT_TRUE(tags->setTitle(longTitle + longTitle.left(9)));
        const QByteArray after = readFile(path);
        EXPECT_EQ(after.size(), layout.bytes.size());
        EXPECT_EQ(findAtom(after, {"mdat"}).offset, findAtom(layout.bytes, {"mdat"}).offset);
        EXPECT_EQ(after.right(mdat.size()), mdat);
        EXPECT_EQ(tags->title(), longTitle + longTitle.left(9));
        const Span udta = findAtom(after, {"moov", "udta"});
        if (layout.terminated) {
            EXPECT_EQ(after.mid(udta.offset + udta.size - 4, 4), be32(0));
        }
    }
    EXPECT_TRUE(mLogged.isEmpty());
}

TEST_F(MP4TagsTest, UserDataIsFoundByItsIdentifierAndOnlyTextReadsAsText)
{
    const QByteArray first = QByteArray::fromHex("00112233445566778899AABBCCDDEEFF");
    const QByteArray second = QByteArray::fromHex("0F1E2D3C4B5A69788796A5B4C3D2E1F0");
    const QString path = fileWith(toneFile("aac", true));
    const QByteArray audio = decodedAudioDigest(path);
    auto tags = MP4Tags::fromFile(path);
    ASSERT_TRUE(tags->setTitle(QStringLiteral("kept")));

    ASSERT_TRUE(tags->setUserData("archive one", first, MP4Tags::RawDataType));
    const auto value = tags->readUUIDAtom(first);
    ASSERT_TRUE(value);
    EXPECT_EQ(value->kind, MP4TagValue::Kind::Bytes);
    EXPECT_EQ(value->bytes, QByteArray("archive one"));
    EXPECT_FALSE(tags->readUUIDAtom(second));
    const QByteArray bytes = readFile(path);
    const Span uuid = findAtom(bytes, {"moov", "udta", "uuid"});
    EXPECT_EQ(bytes.mid(uuid.offset, uuid.size),
              box("uuid", first + box("data", be32(0) + be32(0) + "archive one")));

    // Another identifier is another program's box: it is added beside, and each is found past
    // the other; writing one again replaces only that one.
    ASSERT_TRUE(tags->setUserData("two", second, MP4Tags::RawDataType));
    ASSERT_TRUE(tags->setUserData("archive two", first, MP4Tags::RawDataType));
    ASSERT_TRUE(tags->readUUIDAtom(first));
    EXPECT_EQ(tags->readUUIDAtom(first)->bytes, QByteArray("archive two"));
    ASSERT_TRUE(tags->readUUIDAtom(second));
    EXPECT_EQ(tags->readUUIDAtom(second)->bytes, QByteArray("two"));
    EXPECT_EQ(tags->title(), QStringLiteral("kept"));
    EXPECT_EQ(decodedAudioDigest(path), audio);

    // Unknown type indicators and raw data do not read as text.
    ASSERT_TRUE(tags->setData("x", MP4Tags::TitleAtom, 21));
    EXPECT_FALSE(tags->readAtom(MP4Tags::TitleAtom));
    EXPECT_FALSE(tags->title());
    ASSERT_TRUE(tags->setData("not text", MP4Tags::TitleAtom, MP4Tags::RawDataType));
    EXPECT_EQ(tags->readAtom(MP4Tags::TitleAtom)->bytes, QByteArray("not text"));
    EXPECT_FALSE(tags->title());

    EXPECT_FALSE(MP4Tags::fromFile(mDir.filePath(QStringLiteral("no/such/folder/tape.m4a"))));
}

TEST_F(MP4TagsTest, DamagedFilesAreReadAsEmptyAndNeverWritten)
{
    const QByteArray real = readFile(fileWith(toneFile("aac")));
    const qint64 moovStart = findAtom(real, {"moov"}).offset;
    const QByteArray ftyp = box("ftyp", "M4A ");
    const QByteArray mvhd = box("mvhd", QByteArray(100, '\0'));
    const QByteArray hdlr = box("hdlr", QByteArray(25, '\0'));
    const QByteArray title = box("\xA9nam", box("data", be32(1) + be32(0) + "old"));
    const auto withIlst = [&](const QByteArray& items) -> QByteArray {
        return ftyp + box("moov", mvhd + box("udta", box("meta", be32(0) + hdlr + box("ilst", items))));
    };
    const QString noMoov = QStringLiteral("MP4Tags : (ERROR) No moov atom found in file!");
    const QString damaged = QStringLiteral("MP4Tags : (ERROR) Damaged atom chain in file!");
    const struct
    {
        const char* name;
        QByteArray bytes;
        QString message;
    } cases[] = {
        {"empty", {}, noMoov},
        {"not-mpeg4", "just some text that is long enough", noMoov},
        {"zero-size-before-moov", ftyp + be32(0) + "free" + withIlst(title).mid(ftyp.size()), noMoov},
        {"moov-past-the-end", real.left(moovStart) + be32(0x7FFFFFFF) + real.mid(moovStart + 4), damaged},
        {"meta-too-short", ftyp + box("moov", mvhd + box("udta", box("meta", "\0\0"))), damaged},
        {"zero-size-item", withIlst(be32(0) + title.mid(4)), damaged},
        {"item-past-ilst", withIlst(be32(title.size() + 1) + title.mid(4)), damaged},
        {"no-chunk-offsets", fileWithChunkTable(box("stsz"), false),
         QStringLiteral("MP4Tags : (ERROR) Could not find stco or co64")},
    };
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.name);
        mLogged.clear();
        const QString path = fileWith(bad.bytes);
        auto tags = MP4Tags::fromFile(path);
        EXPECT_FALSE(tags->title());
        EXPECT_FALSE(tags->coverArt());
        EXPECT_FALSE(tags->readUUIDAtom(QByteArray(16, 'u')));
        EXPECT_FALSE(tags->setTitle(QStringLiteral("new")));
        EXPECT_EQ(readFile(path), bad.bytes);
        EXPECT_EQ(mLogged, QStringList{bad.message});
    }

    // An item whose size runs past its list reads as nothing and is replaced whole.
    mLogged.clear();
    auto tags = MP4Tags::fromFile(fileWith(withIlst(title.left(8) + be32(100) + title.mid(12))));
    EXPECT_FALSE(tags->title());
    ASSERT_TRUE(tags->setTitle(QStringLiteral("new")));
    EXPECT_EQ(tags->title(), QStringLiteral("new"));
    EXPECT_TRUE(mLogged.isEmpty());
}
