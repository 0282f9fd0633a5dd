#pragma once

#include "MP4Tags/MP4Atom.h"
#include "MP4Tags/MP4Box.h"
#include "MP4Tags/MP4FileLayout.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <memory>
#include <optional>

namespace spindrel {

/// A tag value read the way its type indicator says: raw bytes, UTF-8 text or an encoded image.
struct MP4TagValue
{
    enum class Kind { Bytes, Text, JPEGImage, PNGImage };

    Kind kind = Kind::Bytes;
    /// The value as stored: UTF-8 for text, the encoded file for images.
    QByteArray bytes;

    QString text() const { return QString::fromUtf8(bytes); }
    bool isImage() const { return kind == Kind::JPEGImage || kind == Kind::PNGImage; }
};

/// The iTunes-style tags of an MPEG-4 file ('moov'/'udta'/'meta'/'ilst'), plus general 'uuid' atoms
/// in 'udta'. Tags are read from the open file in place. An edit builds the new 'moov' in memory
/// (missing containers are made, other programs' items stay as they were) and MP4MoovWriter puts
/// it into the file in one atomic step: afterwards the file holds the old tags or the new ones and
/// all its media. A file that cannot be edited safely is left exactly as it was, and errorString()
/// says why.
class MP4Tags
{
    Q_DECLARE_TR_FUNCTIONS(MP4Tags)

public:
    // Item codes; the first byte of the iTunes codes is 0xA9, the copyright sign.
    static constexpr uint32_t TitleAtom = 0xA96E616D;       // ©nam
    static constexpr uint32_t ArtistAtom = 0xA9415254;      // ©ART
    static constexpr uint32_t AlbumAtom = 0xA9616C62;       // ©alb
    static constexpr uint32_t LyricsAtom = 0xA96C7972;      // ©lyr
    static constexpr uint32_t CommentAtom = 0xA9636D74;     // ©cmt
    static constexpr uint32_t ReleaseDateAtom = 0xA9646179; // ©day
    static constexpr uint32_t CoverArtAtom = fourCC("covr");
    static constexpr uint32_t UUIDAtom = fourCC("uuid");

    /// Type indicators of a 'data' atom.
    static constexpr uint32_t RawDataType = 0;
    static constexpr uint32_t TextType = 1;
    static constexpr uint32_t JPEGType = 13;
    static constexpr uint32_t PNGType = 14;

    /// Opens the file for reading and writing, creating it when missing; a file that may only be
    /// read is opened for reading. Nothing if that fails or the path is not a regular file.
    static std::unique_ptr<MP4Tags> fromFile(const QString& path);
    /// Opens an existing regular file for reading only, with the system's read-ahead off: a walk
    /// of the atoms jumps, and what lies between (the audio, the cover art) is never wanted.
    /// Edits are refused.
    static std::unique_ptr<MP4Tags> forReading(const QString& path);
    ~MP4Tags();
    MP4Tags(const MP4Tags&) = delete;

    /// The open descriptor, for reading it in one go (ReadAheadScope) while loading.
    int fileHandle() const { return mFileHandle; }
    MP4Tags& operator=(const MP4Tags&) = delete;

    /// Holds the setters that follow until save(), which writes them all in one step.
    void beginEdit();
    /// Writes the held edits; the file then has all of them or none. True when there was nothing
    /// to write.
    bool save();
    /// Why the last edit failed, in plain words; empty after a success.
    const QString& errorString() const { return mError; }
    /// Removes the temporary files that interrupted edits left in the folder; returns how many.
    static int removeStaleEditFiles(const QString& folder);
    /// Whether a name in a folder is an edit's temporary file, live or left by a crash.
    static bool isEditFileName(const QString& name);

    /// Getters give the stored text, or nothing when the item is missing or not text. Setters
    /// return whether the file was written (or, between beginEdit() and save(), the edit held).
    std::optional<QString> title() const { return readText(TitleAtom); }
    bool setTitle(const QString& title) { return setData(title.toUtf8(), TitleAtom, TextType); }
    std::optional<QString> artist() const { return readText(ArtistAtom); }
    bool setArtist(const QString& artist) { return setData(artist.toUtf8(), ArtistAtom, TextType); }
    std::optional<QString> album() const { return readText(AlbumAtom); }
    bool setAlbum(const QString& album) { return setData(album.toUtf8(), AlbumAtom, TextType); }
    std::optional<QString> lyrics() const { return readText(LyricsAtom); }
    bool setLyrics(const QString& lyrics) { return setData(lyrics.toUtf8(), LyricsAtom, TextType); }
    std::optional<QString> comment() const { return readText(CommentAtom); }
    bool setComment(const QString& comment) { return setData(comment.toUtf8(), CommentAtom, TextType); }
    /// A date as text.
    std::optional<QString> releaseDate() const { return readText(ReleaseDateAtom); }
    bool setReleaseDate(const QString& date) { return setData(date.toUtf8(), ReleaseDateAtom, TextType); }
    /// The encoded image, JPEG or PNG (QImage::fromData decodes either).
    std::optional<QByteArray> coverArt() const;
    /// Stores PNG bytes; the caller turns its image into PNG.
    bool setCoverArt(const QByteArray& png) { return setData(png, CoverArtAtom, PNGType); }

    /// The value of an item of 'ilst', or nothing.
    std::optional<MP4TagValue> readAtom(uint32_t atomCode) const;
    /// The value of the first 'uuid' atom of 'udta' when it carries this 16-byte identifier.
    std::optional<MP4TagValue> readUUIDAtom(const QByteArray& uuid) const;
    /// Writes an item of 'ilst' (`atomCode` is not 'uuid').
    bool setData(const QByteArray& data, uint32_t atomCode, uint32_t type);
    /// Writes a 'uuid' atom with this 16-byte identifier in 'udta', replacing the first 'uuid'
    /// atom there whatever its identifier.
    bool setUserData(const QByteArray& data, const QByteArray& uuid, uint32_t type);
    /// The form both resolve to: an identifier exactly when `atomCode` is 'uuid'.
    bool setData(const QByteArray& data, uint32_t atomCode, uint32_t type,
                 const std::optional<QByteArray>& uuid);

    /// An item holding one 'data' atom: indicator, 4 zero bytes, then the value.
    static std::shared_ptr<MP4MemoryAtom> createDataAtom(uint32_t atomCode, const QByteArray& data,
                                                         uint32_t type);
    static std::shared_ptr<MP4MemoryAtom> createUUIDAtom(const QByteArray& uuid, const QByteArray& data,
                                                         uint32_t type);
    static std::shared_ptr<MP4MemoryAtom> createDataAtom(uint32_t atomCode, const QByteArray& data,
                                                         uint32_t type,
                                                         const std::optional<QByteArray>& uuid);
    /// The value bytes of a 'data' atom and its indicator word; nothing when it is too short.
    static std::optional<QByteArray> readDataAtom(const MP4FileAtom& atom, uint32_t* flags);
    /// The value as its indicator (low 24 bits of `flags`) says; nothing for unknown indicators.
    static std::optional<MP4TagValue> valueForData(const QByteArray& data, uint32_t flags);

    /// Moves every entry of every track's chunk offset tables by `delta`.
    bool fixStco(int32_t delta);

private:
    MP4Tags(int fileHandle, const QString& path, bool writable)
        : mFileHandle(fileHandle), mPath(path), mWritable(writable)
    {
    }

    std::optional<QString> readText(uint32_t atomCode) const;
    std::shared_ptr<MP4FileAtom> topLevelAtom(uint32_t type) const;
    /// The 'moov' to edit, read once per edit; nothing (with the reason set) when it cannot be.
    MP4Box* editedMoov();
    bool refuse(const char* logged, const QString& message);

    int mFileHandle;
    QString mPath;
    bool mWritable;
    bool mEditing = false;
    bool mEditFailed = false;
    std::optional<MP4Box> mMoov;
    MP4FileLayout mLayout;
    int mMoovIndex = -1;
    QString mError;
};

} // namespace spindrel
