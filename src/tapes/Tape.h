#pragma once

#include "foundation/Error.h"
#include "tapes/CassetteValues.h"
#include "tapes/TapeLetter.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <variant>

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
    /// field changed what the cassette shows, and renames the file after a title change. False when nothing
    /// could be written: every flag stays and the file keeps its name (commitFailed says why, unless the file
    /// is missing). The same as finishCommit(plan, writeCommit(plan)) with a plan taken now.
    bool commitAttributes();

    /// What a commit writes, taken from the tape at one moment, so that the writing can happen
    /// on another thread while the tape goes on being edited.
    struct CommitPlan
    {
        QString filename;
        unsigned fields = 0; // the dirty fields, as bits of Field
        QString title;
        QString notes;
        QDateTime date;
        QString artist;
        TapeLetter tapeLetter;
        QString recordedQuality;
        std::optional<CassetteValues> coverArt; // when a visible field changed
        quint64 stamp = 0;                      // the tape's edit count when the plan was taken
    };
    struct CommitResult
    {
        enum class Outcome { NothingToWrite, Written, Missing, Failed };
        Outcome outcome = Outcome::Missing;
        QString failure;  // why the tags could not be written
        QString filename; // where the file is afterwards
        std::optional<Error> renameError;
    };
    CommitPlan commitPlan() const;
    /// Writes a plan into its file; touches no tape, so any thread may run it.
    static CommitResult writeCommit(const CommitPlan& plan);
    /// Takes the outcome of a plan: clears the flags of the fields it wrote, unless they were
    /// edited again since, follows a rename and reports failures. True when the file holds the plan.
    bool finishCommit(const CommitPlan& plan, const CommitResult& result);

    static QString fileFriendlyName(const QString& name);

    /// Fills in the probe's fields from the movie header and the stream descriptor.
    void parseMP4FileHeaders();
    void parseESDS(const QByteArray& esds);

    const QString& filename() const { return mFilename; }
    const QString& title() const { return mTitle; }
    const QString& notes() const { return mNotes; }
    /// In local time.
    const QDateTime& date() const;
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

    enum Field : unsigned {
        TitleField = 1,
        NotesField = 2,
        DateField = 4,
        ArtistField = 8,
        TapeLetterField = 16,
        QualityField = 32,
    };
    bool titleDirty() const { return mDirtyFields & TitleField; }
    bool notesDirty() const { return mDirtyFields & NotesField; }
    bool dateDirty() const { return mDirtyFields & DateField; }
    bool artistDirty() const { return mDirtyFields & ArtistField; }
    bool tapeLetterDirty() const { return mDirtyFields & TapeLetterField; }
    bool dirty() const { return mDirtyFields != 0; }

    /// Notes as the editor accepts them: an absent value becomes "".
    static QString validateNotes(const std::optional<QString>& notes);

    bool isEqualToTape(const Tape& other) const { return mFilename == other.mFilename; }
    QString description() const;

    /// The tape as a dragged file: a file URL (text/uri-list).
    std::unique_ptr<QMimeData> mimeData() const;

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
    void markDirty(Field field);
    void clearFlag(Field field);
    /// Moves the file to "[YYYY-MM-DD] title.ext" (with " 1", " 2"... when taken); the new path.
    static std::variant<QString, Error> renameFile(const QString& path, const QDateTime& date,
                                                   const QString& title);
    void storeDate(const QDateTime& date);
    /// Keeps an instant as stored, to be turned into local time at the first look at the date:
    /// that conversion takes a process-wide lock, which loading on every core would queue on.
    void storeInstant(const QDateTime& instant);

    QString mFilename;
    QString mTitle;
    QString mNotes;
    mutable QDateTime mDate;
    mutable bool mDateIsLocal = true;
    qint64 mDateSortKey = std::numeric_limits<qint64>::min();
    QString mArtist;
    TapeLetter mTapeLetter;
    QString mQuality;
    QString mRecordedQuality; // as stored by the recorder; empty for other files
    double mDuration = 0.0;
    quint64 mBitrate = 0;
    quint64 mSamplerate = 0;
    bool mStereo = false;

    // What the cover art this tape last wrote shows: a commit that would draw the same writes none.
    std::optional<CassetteValues> mCoverArtOnFile;

    unsigned mDirtyFields = 0;
    quint64 mEdits = 0;                 // every assignment of an edited field counts
    std::array<quint64, 6> mEditedAt{}; // the count at each field's last assignment
};

using TapePtr = std::shared_ptr<Tape>;

inline size_t qHash(const Tape& tape, size_t seed = 0)
{
    return qHash(tape.filename(), seed);
}

} // namespace spindrel
