#pragma once

#include "foundation/Error.h"
#include "tapes/TapeLetter.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <limits>
#include <memory>
#include <optional>

class QMimeData;

namespace spindrel {

/// One recording: an .m4a file and the metadata kept inside it as tags. The file is the only
/// store; edits set a dirty flag per field and commitAttributes() writes exactly those back. The
/// file is written only then: whoever edits a tape commits it, and letting go of one never writes.
class Tape : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString filename READ filename NOTIFY filenameChanged)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString notes READ notes WRITE setNotes NOTIFY notesChanged)
    Q_PROPERTY(QDateTime date READ date WRITE setDate NOTIFY dateChanged)
    Q_PROPERTY(QString artist READ artist WRITE setArtist NOTIFY artistChanged)
    Q_PROPERTY(QString quality READ quality NOTIFY headersChanged)
    Q_PROPERTY(double duration READ duration NOTIFY headersChanged)
    Q_PROPERTY(bool stereo READ stereo NOTIFY headersChanged)
    Q_PROPERTY(bool dirty READ dirty NOTIFY dirtyChanged)

public:
    /// Reads the tags and the audio headers at once; a file that cannot be read gives defaults.
    explicit Tape(const QString& filename, QObject* parent = nullptr);
    ~Tape() override;

    void loadAttributes();
    /// Writes the dirty fields into the file in one step, renders new cover art when a visible
    /// field changed, and renames the file after a title change. False when nothing could be
    /// written: every flag stays and the file keeps its name (commitFailed says why, unless the
    /// file is missing).
    bool commitAttributes();
    /// Moves the file to "[YYYY-MM-DD] title.ext" (with " 1", " 2"... when taken).
    std::optional<Error> renameFile(const QString& title);
    static QString fileFriendlyName(const QString& name);

    /// Fills in the probe's fields from the movie header and the stream descriptor.
    void parseMP4FileHeaders();
    void parseESDS(const QByteArray& esds);

    const QString& filename() const { return mFilename; }
    const QString& title() const { return mTitle; }
    const QString& notes() const { return mNotes; }
    const QDateTime& date() const { return mDate; }
    /// The date as milliseconds since the epoch (the lowest value when there is none), taken once
    /// per change so that sorting thousands of tapes converts no time zones.
    qint64 dateSortKey() const { return mDateSortKey; }
    const QString& artist() const { return mArtist; }
    const TapeLetter& tapeLetter() const { return mTapeLetter; }
    const QString& quality() const { return mQuality; }
    double duration() const { return mDuration; }
    quint64 bitrate() const { return mBitrate; }
    quint64 samplerate() const { return mSamplerate; }
    /// A second sample-rate property that nothing sets; the quality lookup is handed this one.
    quint64 sampleRate() const { return 0; }
    bool stereo() const { return mStereo; }

    /// Any assignment marks its field dirty, even of an equal value.
    void setTitle(const QString& title);
    void setNotes(const QString& notes);
    void setDate(const QDateTime& date);
    void setArtist(const QString& artist);
    void setTapeLetter(const TapeLetter& letter);
    /// The quality a recording is made in. It shows at once, and the next commit stores it in the
    /// file, where it outweighs what the audio suggests.
    void setQuality(const QString& quality);

    bool titleDirty() const { return mTitleDirty; }
    bool notesDirty() const { return mNotesDirty; }
    bool dateDirty() const { return mDateDirty; }
    bool artistDirty() const { return mArtistDirty; }
    bool tapeLetterDirty() const { return mTapeLetterDirty; }
    bool dirty() const;

    /// Notes as the editor accepts them: an absent value becomes "".
    static QString validateNotes(const std::optional<QString>& notes);

    bool isEqualToTape(const Tape& other) const { return mFilename == other.mFilename; }
    QString description() const;

    /// The tape as a dragged file: a file URL (text/uri-list).
    std::unique_ptr<QMimeData> mimeData() const;

    /// The cover art a commit would store: the cassette at scale 2.0, as PNG bytes.
    QByteArray renderCoverArt() const;

Q_SIGNALS:
    void filenameChanged();
    void titleChanged();
    void notesChanged();
    void dateChanged();
    void artistChanged();
    void tapeLetterChanged();
    void headersChanged();
    void dirtyChanged();
    /// A file-system error the user should see (a failed rename).
    void errorOccurred(const spindrel::Error& error);
    /// The tags could not be written; the reason in plain words.
    void commitFailed(const QString& reason);

private:
    /// The probe over a descriptor already open (and read ahead) for loading the tags.
    void parseMP4FileHeaders(int fileHandle);
    void markDirty(bool& flag);
    void clearFlag(bool& flag);
    void storeDate(const QDateTime& date);

    QString mFilename;
    QString mTitle;
    QString mNotes;
    QDateTime mDate;
    qint64 mDateSortKey = std::numeric_limits<qint64>::min();
    QString mArtist;
    TapeLetter mTapeLetter;
    QString mQuality;
    QString mRecordedQuality; // as stored by the recorder; empty for other files
    double mDuration = 0.0;
    quint64 mBitrate = 0;
    quint64 mSamplerate = 0;
    bool mStereo = false;

    bool mTitleDirty = false;
    bool mNotesDirty = false;
    bool mDateDirty = false;
    bool mArtistDirty = false;
    bool mTapeLetterDirty = false;
    bool mQualityDirty = false;
};

using TapePtr = std::shared_ptr<Tape>;

inline size_t qHash(const Tape& tape, size_t seed = 0)
{
    return qHash(tape.filename(), seed);
}

} // namespace spindrel
