#include "tapes/Tape.h"

#include "MP4Tags/MP4Tags.h"
#include "MP4Tags/PositionedIO.h"
#include "foundation/Log.h"
#include "tapes/DateParser.h"
#include "tapes/RecordedQualityTag.h"
#include "tapes/TapeCassette.h"
#include "tapes/TapeLetterTag.h"
#include "tapes/TapeQuality.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>
#include <bit>
#include <exception>

namespace spindrel {

namespace {

/// Logs an exception that a tape stops at its own edge, so that one damaged file never takes the
/// library, the deck or a command down with it.
void logCaught(const QString& filename, const char* what)
{
    logError(logSourceName(__FILE__), QStringLiteral("%1: %2").arg(filename, QString::fromUtf8(what)));
}

} // namespace

Tape::Tape(const QString& filename, QObject* parent) : QObject(parent), mFilename(filename)
{
    // Loading assigns the fields directly, so it never marks them dirty (but for a missing letter).
    // It throws nothing: a file that cannot be read whole gives what could be read.
    loadAttributes();
}

Tape::~Tape() = default;

void Tape::loadAttributes()
{
    // The artist is written, never read back.
    mArtist = QString();
    mCoverArtOnFile.reset();
    bool letterSettled = false;
    try {
        // Read only: loading never creates or changes a file.
        auto tags = MP4Tags::forReading(mFilename);
        if (tags) {
            // Page-sized blocks: the walk reads the pages that hold atom headers and text items,
            // and none of those in between, where the audio and the cover art lie.
            const ReadAheadScope readAhead(tags->fileHandle(), 4096);
            if (auto title = tags->title())
                mTitle = *title;
            if (auto lyrics = tags->lyrics())
                mNotes = *lyrics;
            if (auto releaseDate = tags->releaseDate()) {
                if (auto instant = DateParser::storedInstant(*releaseDate))
                    storeInstant(*instant);
                else if (auto date = DateParser::dateWithNaturalLanguageString(*releaseDate))
                    storeDate(*date);
            }
            mRecordedQuality = readRecordedQuality(*tags).value_or(QString());
            if (auto letter = readTapeLetter(*tags))
                mTapeLetter = *letter;
            else
                markDirty(TapeLetterField);
            letterSettled = true;
            // The headers sit beside the tags, in blocks already read.
            parseMP4FileHeaders(tags->fileHandle());
            return;
        }
        markDirty(TapeLetterField);
        letterSettled = true;
        parseMP4FileHeaders();
    } catch (const std::exception& exception) {
        logCaught(mFilename, exception.what());
    } catch (...) {
        logCaught(mFilename, "unknown exception while loading");
    }
    // A letter that could not be read is the default one, to be written at the next commit.
    if (!letterSettled)
        markDirty(TapeLetterField);
}

bool Tape::commitAttributes()
{
    const CommitPlan plan = commitPlan();
    return finishCommit(plan, writeCommit(plan));
}

Tape::CommitPlan Tape::commitPlan() const
{
    CommitPlan plan;
    plan.filename = mFilename;
    plan.fields = mDirtyFields;
    plan.stamp = mEdits;
    plan.title = mTitle;
    plan.notes = mNotes;
    plan.date = date();
    plan.artist = mArtist;
    plan.tapeLetter = mTapeLetter;
    plan.recordedQuality = mRecordedQuality;
    // The artist alone shows nowhere on the cassette.
    if (plan.fields & (TapeLetterField | DateField | NotesField | TitleField)) {
        CassetteValues cover = TapeCassette::valuesForTape(*this);
        if (cover != mCoverArtOnFile)
            plan.coverArt = std::move(cover);
    }
    return plan;
}

Tape::CommitResult Tape::writeCommit(const CommitPlan& plan)
{
    CommitResult result;
    result.filename = plan.filename;
    // Opening tags would create a missing file; a tape never does.
    if (!QFileInfo::exists(plan.filename))
        return result;
    auto tags = MP4Tags::fromFile(plan.filename);
    if (!tags)
        return result;
    if (plan.fields == 0) {
        result.outcome = CommitResult::Outcome::NothingToWrite;
        return result;
    }

    // One write for the whole commit: the file gets every edit or none.
    tags->beginEdit();
    if (plan.fields & TitleField)
        tags->setTitle(plan.title);
    if (plan.fields & NotesField)
        tags->setLyrics(plan.notes);
    if (plan.fields & DateField)
        tags->setReleaseDate(DateParser::standardDescription(plan.date));
    if (plan.fields & ArtistField)
        tags->setArtist(plan.artist);
    if (plan.coverArt)
        tags->setCoverArt(TapeCassette::coverArtPNG(*plan.coverArt));
    if (plan.fields & TapeLetterField)
        writeTapeLetter(*tags, plan.tapeLetter);
    if (plan.fields & QualityField)
        writeRecordedQuality(*tags, plan.recordedQuality);
    if (!tags->save()) {
        result.outcome = CommitResult::Outcome::Failed;
        result.failure = tags->errorString();
        return result;
    }
    tags.reset();
    result.outcome = CommitResult::Outcome::Written;
    if (plan.fields & TitleField) {
        auto renamed = renameFile(plan.filename, plan.date, plan.title);
        if (auto* error = std::get_if<Error>(&renamed))
            result.renameError = *error;
        else
            result.filename = std::get<QString>(renamed);
    }
    return result;
}

bool Tape::finishCommit(const CommitPlan& plan, const CommitResult& result)
{
    using Outcome = CommitResult::Outcome;
    if (result.outcome == Outcome::Missing)
        return false;
    if (result.outcome == Outcome::Failed) {
        // The flags stay, so a later commit tries again; the file keeps its name.
        Q_EMIT commitFailed(result.failure);
        return false;
    }
    if (result.outcome == Outcome::Written && plan.coverArt)
        mCoverArtOnFile = plan.coverArt;
    if (result.filename != mFilename) {
        mFilename = result.filename;
        Q_EMIT filenameChanged();
    }
    // A field edited again after the plan was taken stays dirty for the next commit.
    for (const Field field :
         {NotesField, DateField, ArtistField, TapeLetterField, QualityField, TitleField}) {
        if ((plan.fields & field) && mEditedAt[std::countr_zero(unsigned(field))] <= plan.stamp)
            clearFlag(field);
    }
    if (result.renameError)
        Q_EMIT errorOccurred(*result.renameError);
    return true;
}

std::variant<QString, Error> Tape::renameFile(const QString& path, const QDateTime& date,
                                              const QString& title)
{
    const QFileInfo current(path);
    const QString day =
        date.isValid() ? date.toLocalTime().toString(QStringLiteral("[yyyy-MM-dd]")) : QStringLiteral("[]");
    const QString base = fileFriendlyName(day + QLatin1Char(' ') + title);
    const QString directory = current.absolutePath() + QLatin1Char('/');
    const QString extension = current.suffix();

    // The tape's own path counts as taken, so even an unchanged title moves on to " 1".
    QString candidate;
    for (int n = 0;; ++n) {
        const QString leaf = n == 0 ? base : QStringLiteral("%1 %2").arg(base).arg(n);
        candidate = directory + leaf + QLatin1Char('.') + extension;
        if (!QFileInfo::exists(candidate))
            break;
    }

    QFile file(path);
    if (!file.rename(candidate)) {
        QVariantMap info{{Error::DescriptionKey,
                          tr("“%1” couldn’t be renamed to “%2”: %3")
                              .arg(current.fileName(), QFileInfo(candidate).fileName(), file.errorString())}};
        return Error(Error::CocoaDomain, file.error(), info);
    }
    return candidate;
}

QString Tape::fileFriendlyName(const QString& name)
{
    QString friendly = name;
    friendly.replace(QLatin1Char(':'), QLatin1Char('_'));
    friendly.replace(QLatin1Char('/'), QLatin1Char('_'));
    return friendly;
}

void Tape::setTitle(const QString& title)
{
    mTitle = title;
    markDirty(TitleField);
    Q_EMIT titleChanged();
}

void Tape::setNotes(const QString& notes)
{
    mNotes = notes;
    markDirty(NotesField);
    Q_EMIT notesChanged();
}

void Tape::storeDate(const QDateTime& date)
{
    mDate = date;
    mDateIsLocal = true;
    mDateSortKey = date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

void Tape::storeInstant(const QDateTime& instant)
{
    storeDate(instant);
    mDateIsLocal = false;
}

const QDateTime& Tape::date() const
{
    if (!mDateIsLocal) {
        mDate = mDate.toLocalTime();
        mDateIsLocal = true;
    }
    return mDate;
}

void Tape::setDate(const QDateTime& date)
{
    storeDate(date);
    markDirty(DateField);
    Q_EMIT dateChanged();
}

void Tape::setArtist(const QString& artist)
{
    mArtist = artist;
    markDirty(ArtistField);
    Q_EMIT artistChanged();
}

void Tape::setTapeLetter(const TapeLetter& letter)
{
    mTapeLetter = letter;
    markDirty(TapeLetterField);
    Q_EMIT tapeLetterChanged();
}

void Tape::setQuality(const QString& quality)
{
    mQuality = quality;
    mRecordedQuality = quality;
    markDirty(QualityField);
    Q_EMIT headersChanged();
}

void Tape::markDirty(Field field)
{
    // Observers of dirty hear of every assignment of an edited field, not only of flag changes.
    mDirtyFields |= field;
    mEditedAt[std::countr_zero(unsigned(field))] = ++mEdits;
    Q_EMIT dirtyChanged();
}

void Tape::clearFlag(Field field)
{
    if (!(mDirtyFields & field))
        return;
    mDirtyFields &= ~unsigned(field);
    Q_EMIT dirtyChanged();
}

QString Tape::validateNotes(const std::optional<QString>& notes)
{
    return notes ? *notes : QString(QLatin1String(""));
}

QString Tape::description() const
{
    return QStringLiteral("<Tape: %1, Duration: %2s, Date: %3>")
        .arg(mTitle)
        .arg(mDuration, 0, 'f', 6)
        .arg(date().toString(Qt::ISODate));
}

std::unique_ptr<QMimeData> Tape::mimeData() const
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl::fromLocalFile(mFilename)});
    return data;
}

} // namespace spindrel
