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
    bool letterSettled = false;
    try {
        // Opening tags would create a missing file; a tape never does.
        auto tags = QFileInfo(mFilename).isFile() ? MP4Tags::fromFile(mFilename) : nullptr;
        if (tags) {
            const ReadAheadScope readAhead(tags->fileHandle());
            if (auto title = tags->title())
                mTitle = *title;
            if (auto lyrics = tags->lyrics())
                mNotes = *lyrics;
            if (auto releaseDate = tags->releaseDate()) {
                if (auto date = DateParser::dateWithNaturalLanguageString(*releaseDate))
                    storeDate(*date);
            }
            mRecordedQuality = readRecordedQuality(*tags).value_or(QString());
            if (auto letter = readTapeLetter(*tags))
                mTapeLetter = *letter;
            else
                markDirty(mTapeLetterDirty);
            letterSettled = true;
            // The headers sit beside the tags, in blocks already read.
            parseMP4FileHeaders(tags->fileHandle());
            return;
        }
        markDirty(mTapeLetterDirty);
        letterSettled = true;
        parseMP4FileHeaders();
    } catch (const std::exception& exception) {
        logCaught(mFilename, exception.what());
    } catch (...) {
        logCaught(mFilename, "unknown exception while loading");
    }
    // A letter that could not be read is the default one, to be written at the next commit.
    if (!letterSettled)
        markDirty(mTapeLetterDirty);
}

bool Tape::commitAttributes()
{
    if (!QFileInfo::exists(mFilename))
        return false;
    auto tags = MP4Tags::fromFile(mFilename);
    if (!tags)
        return false;

    const bool title = mTitleDirty;
    const bool notes = mNotesDirty;
    const bool date = mDateDirty;
    const bool artist = mArtistDirty;
    const bool letter = mTapeLetterDirty;
    const bool quality = mQualityDirty;
    if (!(title || notes || date || artist || letter || quality))
        return true;

    // One write for the whole commit: the file gets every edit or none.
    tags->beginEdit();
    if (title)
        tags->setTitle(mTitle);
    if (notes)
        tags->setLyrics(mNotes);
    if (date)
        tags->setReleaseDate(DateParser::standardDescription(mDate));
    if (artist)
        tags->setArtist(mArtist);
    if (letter || date || notes || title)
        tags->setCoverArt(renderCoverArt());
    if (letter)
        writeTapeLetter(*tags, mTapeLetter);
    if (quality)
        writeRecordedQuality(*tags, mRecordedQuality);
    if (!tags->save()) {
        // The flags stay, so a later commit tries again; the file keeps its name.
        Q_EMIT commitFailed(tags->errorString());
        return false;
    }
    tags.reset();
    clearFlag(mNotesDirty);
    clearFlag(mDateDirty);
    clearFlag(mArtistDirty);
    clearFlag(mTapeLetterDirty);
    clearFlag(mQualityDirty);
    if (mTitleDirty) {
        if (auto error = renameFile(mTitle))
            Q_EMIT errorOccurred(*error);
        clearFlag(mTitleDirty);
    }
    return true;
}

std::optional<Error> Tape::renameFile(const QString& title)
{
    const QFileInfo current(mFilename);
    const QString day =
        mDate.isValid() ? mDate.toLocalTime().toString(QStringLiteral("[yyyy-MM-dd]")) : QStringLiteral("[]");
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

    QFile file(mFilename);
    if (!file.rename(candidate)) {
        QVariantMap info{{Error::DescriptionKey,
                          tr("“%1” couldn’t be renamed to “%2”: %3")
                              .arg(current.fileName(), QFileInfo(candidate).fileName(), file.errorString())}};
        return Error(Error::CocoaDomain, file.error(), info);
    }
    mFilename = candidate;
    Q_EMIT filenameChanged();
    return std::nullopt;
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
    markDirty(mTitleDirty);
    Q_EMIT titleChanged();
}

void Tape::setNotes(const QString& notes)
{
    mNotes = notes;
    markDirty(mNotesDirty);
    Q_EMIT notesChanged();
}

void Tape::storeDate(const QDateTime& date)
{
    mDate = date;
    mDateSortKey = date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

void Tape::setDate(const QDateTime& date)
{
    storeDate(date);
    markDirty(mDateDirty);
    Q_EMIT dateChanged();
}

void Tape::setArtist(const QString& artist)
{
    mArtist = artist;
    markDirty(mArtistDirty);
    Q_EMIT artistChanged();
}

void Tape::setTapeLetter(const TapeLetter& letter)
{
    mTapeLetter = letter;
    markDirty(mTapeLetterDirty);
    Q_EMIT tapeLetterChanged();
}

void Tape::setQuality(const QString& quality)
{
    mQuality = quality;
    mRecordedQuality = quality;
    markDirty(mQualityDirty);
    Q_EMIT headersChanged();
}

bool Tape::dirty() const
{
    return mTitleDirty || mNotesDirty || mDateDirty || mArtistDirty || mTapeLetterDirty || mQualityDirty;
}

void Tape::markDirty(bool& flag)
{
    // Observers of dirty hear of every assignment of an edited field, not only of flag changes.
    flag = true;
    Q_EMIT dirtyChanged();
}

void Tape::clearFlag(bool& flag)
{
    if (!flag)
        return;
    flag = false;
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
        .arg(mDate.toString(Qt::ISODate));
}

std::unique_ptr<QMimeData> Tape::mimeData() const
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl::fromLocalFile(mFilename)});
    return data;
}

QByteArray Tape::renderCoverArt() const
{
    return TapeCassette::coverArtPNG(*this);
}

} // namespace spindrel
