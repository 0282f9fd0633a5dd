#include "audio/RecordingRecovery.h"

#include "audio/DurableFileOutput.h"
#include "audio/MP4InPlaceFinisher.h"
#include "audio/MP4Remuxer.h"
#include "foundation/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

struct BoxHeader
{
    QByteArray type;
    int64_t size = 0;
    int headerSize = 8;
};

bool plausibleType(const QByteArray& type)
{
    for (char c : type) {
        if (uchar(c) < 0x20 || uchar(c) > 0x7e)
            return false;
    }
    return type.size() == 4;
}

uint64_t bigEndian(const char* bytes, int count)
{
    uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = (value << 8) | uchar(bytes[i]);
    return value;
}

// The box at `offset`, when its header is readable and its size makes sense; it may still end
// beyond the end of the file.
std::optional<BoxHeader> readBoxHeader(QFile& file, int64_t offset)
{
    if (!file.seek(offset))
        return std::nullopt;
    const QByteArray bytes = file.read(16);
    if (bytes.size() < 8)
        return std::nullopt;
    BoxHeader box;
    box.type = bytes.mid(4, 4);
    box.size = int64_t(bigEndian(bytes.constData(), 4));
    if (box.size == 1) {
        if (bytes.size() < 16)
            return std::nullopt;
        box.size = int64_t(bigEndian(bytes.constData() + 8, 8));
        box.headerSize = 16;
    }
    // Size 0 ("up to the end of the file") is never written by the recorder: it is what a torn
    // write of zeros looks like.
    if (box.size < box.headerSize || !plausibleType(box.type))
        return std::nullopt;
    return box;
}

class FileLock
{
public:
    explicit FileLock(const QString& path)
    {
        // Writable, for a finish in place; a file that cannot be written can still be remuxed.
        const QByteArray name = QFile::encodeName(path);
        mFd = ::open(name.constData(), O_RDWR | O_CLOEXEC);
        if (mFd < 0 && (errno == EACCES || errno == EROFS || errno == EPERM))
            mFd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
        if (mFd >= 0 && ::flock(mFd, LOCK_EX | LOCK_NB) == 0)
            mLocked = true;
        else
            mError = errno;
    }
    ~FileLock()
    {
        if (mFd >= 0)
            ::close(mFd);
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool locked() const { return mLocked; }
    int fileHandle() const { return mFd; }
    bool heldElsewhere() const { return mFd >= 0 && !mLocked && mError == EWOULDBLOCK; }
    QString errorString() const { return QString::fromLocal8Bit(std::strerror(mError)); }

private:
    int mFd = -1;
    bool mLocked = false;
    int mError = 0;
};

QString freeNameFor(const QString& wanted)
{
    if (!QFileInfo::exists(wanted))
        return wanted;
    const QFileInfo info(wanted);
    const QString stem = info.absolutePath() + QLatin1Char('/') + info.completeBaseName();
    const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    for (int n = 1;; ++n) {
        const QString candidate =
            stem + (n == 1 ? QStringLiteral(" (recovered)") : QStringLiteral(" (recovered %1)").arg(n)) +
            suffix;
        if (!QFileInfo::exists(candidate))
            return candidate;
    }
}

} // namespace

int64_t RecordingRecovery::recoverableLength(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const int64_t size = file.size();
    int64_t offset = 0;
    int64_t recoverable = 0;
    bool sawMoov = false;
    bool expectMdat = false;
    for (bool firstBox = true;; firstBox = false) {
        const auto box = readBoxHeader(file, offset);
        if (!box || offset + box->size > size)
            break;
        if (firstBox && box->type != "ftyp")
            return 0;
        if (expectMdat && box->type != "mdat")
            break; // a fragment's data always follows its header at once
        if (box->type == "moov") {
            sawMoov = true;
        } else if (box->type == "moof") {
            const auto first = readBoxHeader(file, offset + box->headerSize);
            if (!sawMoov || !first || first->type != "mfhd")
                break;
            expectMdat = true;
        } else if (box->type == "mdat" && expectMdat) {
            expectMdat = false;
            recoverable = offset + box->size;
        }
        offset += box->size;
    }
    return recoverable;
}

namespace {

// The room the recorder kept allocated beyond the end, still the file's after a crash.
int64_t allocatedTo(int fileHandle)
{
    struct stat status;
    return ::fstat(fileHandle, &status) == 0 ? int64_t(status.st_blocks) * 512 : 0;
}

RecordingRecovery::Result& recoveredInPlace(RecordingRecovery::Result& result, const QString& target,
                                            const MP4InPlaceFinisher::Result& finished)
{
    const QFileInfo info(target);
    result.seconds = finished.seconds;
    result.startedAt = info.birthTime().isValid()
                           ? info.birthTime()
                           : info.lastModified().addMSecs(-qint64(result.seconds * 1000.0));
    result.recovered = target;
    result.outcome = RecordingRecovery::Outcome::Recovered;
    logLine(QStringLiteral("%1 : Recovered %2 s of an interrupted recording from %3 into %4 where it lies%5")
                .arg(logSourceName(__FILE__))
                .arg(result.seconds, 0, 'f', 1)
                .arg(result.source, target,
                     finished.outcome == MP4InPlaceFinisher::Outcome::Fragmented
                         ? QStringLiteral(", still fragmented (") + finished.message + QLatin1Char(')')
                         : QString()));
    return result;
}

} // namespace

RecordingRecovery::Result RecordingRecovery::recoverFile(const QString& path)
{
    Result result;
    result.source = path;
    const QString source = logSourceName(__FILE__);
    FileLock lock(path);
    if (!lock.locked()) {
        result.outcome = lock.heldElsewhere() ? Outcome::InUse : Outcome::Failed;
        result.message =
            lock.heldElsewhere() ? QStringLiteral("it is being recorded right now") : lock.errorString();
        if (result.outcome == Outcome::InUse)
            logLine(
                QStringLiteral("%1 : %2 is being recorded by another process; left alone").arg(source, path));
        else
            logError(source,
                     QStringLiteral("Could not open the interrupted recording %1: %2; the file is kept")
                         .arg(path, result.message));
        return result;
    }

    const QFileInfo info(path);
    QString wanted = path;
    wanted.chop(inProgressSuffix().size());
    // A finish in place that a crash cut short only needs its last steps.
    if (MP4InPlaceFinisher::isInterruptedFinish(lock.fileHandle())) {
        const QString target = freeNameFor(wanted);
        const MP4InPlaceFinisher::Result finished = MP4InPlaceFinisher::finish(
            lock.fileHandle(), path, target, MP4Remuxer::kPrimingByCodec, allocatedTo(lock.fileHandle()));
        if (finished.outcome != MP4InPlaceFinisher::Outcome::Failed)
            return recoveredInPlace(result, target, finished);
        result.message = finished.message;
        logError(source,
                 QStringLiteral("Could not recover the interrupted recording %1: %2; the file is kept")
                     .arg(path, finished.message));
        return result;
    }
    const int64_t length = recoverableLength(path);
    if (length <= 0) {
        result.message = QStringLiteral("it holds no complete second of audio");
        logError(source, QStringLiteral("Nothing could be recovered from the interrupted recording %1: %2; "
                                        "the file is kept")
                             .arg(path, result.message));
        return result;
    }
    const QString target = freeNameFor(wanted);
    // Where it lies first: no second copy, however long the take. A copy is the way out for
    // fragments that cannot be finished in place.
    const MP4InPlaceFinisher::Result inPlace = MP4InPlaceFinisher::finish(
        lock.fileHandle(), path, target, MP4Remuxer::kPrimingByCodec, allocatedTo(lock.fileHandle()));
    if (inPlace.outcome != MP4InPlaceFinisher::Outcome::Failed)
        return recoveredInPlace(result, target, inPlace);
    QString error;
    if (!MP4Remuxer::writeOrdinaryFile(path, length, target, MP4Remuxer::kPrimingByCodec, &error,
                                       &result.seconds)) {
        result.message = error;
        logError(source, QStringLiteral("Could not recover the interrupted recording %1: %2; in place: %3; "
                                        "the file is kept")
                             .arg(path, error, inPlace.message));
        return result;
    }
    const QDateTime born = info.birthTime();
    result.startedAt = born.isValid() ? born : info.lastModified().addMSecs(-qint64(result.seconds * 1000.0));
    QFile::remove(path);
    DurableFileOutput::syncFolderOf(path);
    result.recovered = target;
    result.outcome = Outcome::Recovered;
    logLine(QStringLiteral("%1 : Recovered %2 s of an interrupted recording from %3 into %4")
                .arg(source)
                .arg(result.seconds, 0, 'f', 1)
                .arg(path, target));
    return result;
}

QList<RecordingRecovery::Result> RecordingRecovery::recoverFolder(const QString& folder)
{
    QList<Result> results;
    const QDir dir(folder);
    if (folder.isEmpty() || !dir.exists())
        return results;
    const QDir::Filters filters = QDir::Files | QDir::Hidden | QDir::System;
    // Temporaries of a finish that a crash cut short; one that is still locked is being written.
    const QString temporary = MP4Remuxer::temporaryPathFor(QString());
    for (const QString& name : dir.entryList({QLatin1Char('*') + temporary}, filters, QDir::Name)) {
        const QString path = dir.filePath(name);
        if (FileLock(path).locked() && QFile::remove(path))
            logLine(QStringLiteral("%1 : Removed %2, left by an interrupted finish")
                        .arg(logSourceName(__FILE__), path));
    }
    for (const QString& name : dir.entryList({QLatin1Char('*') + inProgressSuffix()}, filters, QDir::Name))
        results.append(recoverFile(dir.filePath(name)));
    return results;
}

} // namespace spindrel
