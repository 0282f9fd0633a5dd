#include "tapes/TapeLibraryArrayController.h"

#include "MP4Tags/MP4Tags.h"
#include "audio/MP4Remuxer.h"
#include "foundation/Log.h"
#include "tapes/FileCopy.h"
#include "tapes/Trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QMimeDatabase>
#include <QScopedValueRollback>
#include <QSet>
#include <dirent.h>
#include <sys/stat.h>

namespace spindrel {

namespace {
constexpr int kCoalesceMs = 200;
} // namespace

TapeLibraryArrayController::TapeLibraryArrayController(const QString& folderPath, Loading loading,
                                                       QObject* parent)
    : FilteringArrayController(parent), mFolderPath(folderPath), mLoading(loading)
{
    mCoalesce.setSingleShot(true);
    mCoalesce.setInterval(kCoalesceMs);
    connect(&mCoalesce, &QTimer::timeout, this, &TapeLibraryArrayController::coalescedFolderEvents);
    // Filtered out or not, every tape that comes in by another way than a scan counts.
    connect(sourceModel(), &QAbstractItemModel::rowsInserted, this, [this] {
        if (!mApplyingScan)
            mOtherArrivals = true;
    });
    if (loading == Loading::InBackground) {
        // Begun once the event loop turns, so that the readers leave the cores to the window
        // being built; asked for before then, it begins at once.
        mScanPending = true;
        QTimer::singleShot(0, this, [this] {
            if (mScanPending)
                scanInBackground(true);
        });
        return;
    }
    // What an interrupted tag edit left behind is gone before anything reads the folder.
    checkRecordingDirectory(tidyAndList(mFolderPath));
}

TapeLibraryArrayController::~TapeLibraryArrayController() = default;

void TapeLibraryArrayController::setFolderPath(const QString& folderPath)
{
    if (folderPath == mFolderPath)
        return;
    mFolderPath = folderPath;
    LibraryScan::retire(std::move(mScan));
    mScanAgain = false;
}

void TapeLibraryArrayController::scanInBackground(bool tidy)
{
    if (mScan) {
        mScanAgain = true;
        mTidyAgain = mTidyAgain || tidy;
        return;
    }
    // The first scan tidies the folder, whoever begins it.
    if (std::exchange(mScanPending, false))
        tidy = true;
    LibraryScan::Request request;
    request.folder = mFolderPath;
    request.tidy = tidy;
    for (const TapePtr& tape : content())
        request.known.insert(tape->filename());
    mSelectionBeforeScan = selectedObjects();
    mScanTotal = 0;
    mScanLoaded = 0;
    mOtherArrivals = false;
    mScan = std::make_unique<LibraryScan>(std::move(request));
    connect(mScan.get(), &LibraryScan::listed, this, &TapeLibraryArrayController::scanListed);
    connect(mScan.get(), &LibraryScan::loaded, this, &TapeLibraryArrayController::takeScanBatch);
    connect(mScan.get(), &LibraryScan::finished, this, &TapeLibraryArrayController::scanDone);
    mScan->start();
}

void TapeLibraryArrayController::scanListed(const QStringList& gone, int newFiles)
{
    mScanTotal = newFiles;
    Q_EMIT scanProgress(0, mScanTotal);
    const QSet<QString> goneSet(gone.begin(), gone.end());
    QList<TapePtr> leaving;
    for (const TapePtr& tape : content()) {
        if (goneSet.contains(tape->filename()))
            leaving.append(tape);
    }
    if (!leaving.isEmpty())
        removeObjects(leaving);
}

void TapeLibraryArrayController::takeScanBatch(const QList<TapePtr>& tapes)
{
    mScanLoaded += int(tapes.size());
    // A tape may have come in by another way meanwhile (a finished recording); the scan's own
    // are new to the content, so only then is the content looked through.
    QList<TapePtr> added = tapes;
    if (mOtherArrivals) {
        QSet<QString> known;
        for (const TapePtr& tape : content())
            known.insert(tape->filename());
        added.removeIf([&known](const TapePtr& tape) { return known.contains(tape->filename()); });
    }
    if (!added.isEmpty()) {
        const QScopedValueRollback applying(mApplyingScan, true);
        insertObjects(added);
        // The deck has something to show from the first batch on.
        if (selectedObjects().isEmpty()) {
            setSelectionIndex(0);
            mSelectionBeforeScan = selectedObjects();
        }
        Q_EMIT tapesLoaded(added);
    }
    Q_EMIT scanProgress(mScanLoaded, mScanTotal);
}

void TapeLibraryArrayController::scanDone()
{
    // Deleted later: this runs inside one of the scan's own signals.
    mScan.release()->deleteLater();
    if (mScanLoaded > 0 && selectedObjects() == mSelectionBeforeScan) {
        const QScopedValueRollback applying(mApplyingScan, true);
        setSelectionIndex(0);
    }
    Q_EMIT scanFinished();
    if (std::exchange(mScanAgain, false))
        scanInBackground(std::exchange(mTidyAgain, false));
}

QStringList TapeLibraryArrayController::soundFileList(const QString& folder, bool* leftovers)
{
    // Unsorted, hidden names included, no recursion; an unreadable folder lists nothing. The
    // entry's own type settles most names without a look at the file.
    QStringList paths;
    DIR* directory = ::opendir(QFile::encodeName(folder).constData());
    if (!directory)
        return paths;
    const int folderHandle = ::dirfd(directory);
    const QString finishing = MP4Remuxer::temporaryPathFor(QString());
    while (const dirent* entry = ::readdir(directory)) {
        const QString name = QFile::decodeName(entry->d_name);
        // A tag edit's temporary copy, or an import's copy not yet whole, is no tape, whether live
        // or left by a crash.
        const bool temporary = MP4Tags::isEditFileName(name) || FileCopy::isTemporaryName(name);
        if (leftovers && (temporary || RecordingRecovery::isInProgressPath(name) || name.endsWith(finishing)))
            *leftovers = true;
        if (temporary || !name.endsWith(QLatin1String(".m4a"), Qt::CaseSensitive))
            continue;
        // Only regular files (or links to them): opening a FIFO or a device would block the scan.
        bool regular = entry->d_type == DT_REG;
        if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
            struct stat status;
            regular = ::fstatat(folderHandle, entry->d_name, &status, 0) == 0 && S_ISREG(status.st_mode);
        }
        if (regular)
            paths.append(folder + QLatin1Char('/') + name);
    }
    ::closedir(directory);
    return paths;
}

QStringList TapeLibraryArrayController::tidyAndList(const QString& folder)
{
    bool leftovers = false;
    const QStringList paths = soundFileList(folder, &leftovers);
    if (!leftovers)
        return paths;
    MP4Tags::removeStaleEditFiles(folder);
    FileCopy::removeStaleTemporaries(folder);
    recoverInterruptedRecordings(folder);
    return soundFileList(folder);
}

void TapeLibraryArrayController::checkRecordingDirectory()
{
    checkRecordingDirectory(soundFileList());
}

void TapeLibraryArrayController::checkRecordingDirectory(const QStringList& found)
{
    const QSet<QString> foundSet(found.begin(), found.end());

    QSet<QString> known;
    QList<TapePtr> gone;
    for (const TapePtr& tape : content()) {
        known.insert(tape->filename());
        if (!foundSet.contains(tape->filename()))
            gone.append(tape);
    }
    QStringList fresh;
    for (const QString& path : found) {
        if (!known.contains(path))
            fresh.append(path);
    }
    const QList<TapePtr> added = LibraryScan::loadTapes(fresh);

    if (!gone.isEmpty())
        removeObjects(gone);
    if (!added.isEmpty()) {
        const QScopedValueRollback applying(mApplyingScan, true);
        insertObjects(added);
        setSelectionIndex(0);
    }
}

QList<RecordingRecovery::Result>
TapeLibraryArrayController::recoverInterruptedRecordings(const QString& folder)
{
    QList<RecordingRecovery::Result> results = RecordingRecovery::recoverFolder(folder);
    for (RecordingRecovery::Result& result : results) {
        if (result.outcome != RecordingRecovery::Outcome::Recovered)
            continue;
        Tape tape(result.recovered);
        tape.setTitle(tr("Untitled"));
        if (result.startedAt.isValid())
            tape.setDate(result.startedAt);
        tape.commitAttributes();
        result.recovered = tape.filename();
    }
    return results;
}

void TapeLibraryArrayController::startMonitoringRecordingDirectory()
{
    mWatcher = std::make_unique<QFileSystemWatcher>();
    connect(mWatcher.get(), &QFileSystemWatcher::directoryChanged, this,
            &TapeLibraryArrayController::folderEvent);
    mWatchedPath = mFolderPath;
    mWatching = mWatcher->addPath(mWatchedPath);
    if (!mWatching)
        logError(QStringLiteral("TapeLibraryArrayController"),
                 QStringLiteral("failed to start event stream"));
}

void TapeLibraryArrayController::pauseMonitoringRecordingDirectory()
{
    if (!mWatcher || !mWatching)
        return;
    mWatcher->removePath(mWatchedPath);
    mWatching = false;
    // Events of the paused stretch are not replayed.
    mCoalesce.stop();
    mPendingEvents = 0;
}

void TapeLibraryArrayController::resumeMonitoringRecordingDirectory()
{
    if (!mWatcher || mWatching)
        return;
    mWatching = mWatcher->addPath(mWatchedPath);
    if (!mWatching)
        logError(QStringLiteral("TapeLibraryArrayController"),
                 QStringLiteral("failed to start event stream"));
}

void TapeLibraryArrayController::stopMonitoringRecordingDirectory()
{
    mCoalesce.stop();
    mPendingEvents = 0;
    mWatcher.reset();
    mWatching = false;
}

void TapeLibraryArrayController::folderEvent()
{
    if (!mWatching)
        return;
    ++mPendingEvents;
    if (!mCoalesce.isActive())
        mCoalesce.start();
}

void TapeLibraryArrayController::coalescedFolderEvents()
{
    if (mLoading == Loading::InBackground) {
        mPendingEvents = 0;
        scanInBackground();
        Q_EMIT folderChanged();
        return;
    }
    // One merge per event, not per batch; the merge is idempotent so the repeats cost only a scan.
    for (int events = std::exchange(mPendingEvents, 0); events > 0; --events)
        checkRecordingDirectory();
    Q_EMIT folderChanged();
}

std::optional<Error> TapeLibraryArrayController::copyTapeInto(const QString& folder, const QUrl& source,
                                                              const std::atomic<bool>* cancelled)
{
    const QString sourcePath = source.toLocalFile();
    const QFileInfo sourceInfo(sourcePath);
    const QString destination = folder + QLatin1Char('/') + sourceInfo.fileName();
    if (QFileInfo::exists(destination))
        return std::nullopt;
    // Copying reads the source to its end, which a FIFO or a device may never reach. A damaged but
    // regular file is copied: the library lists it with what can be read.
    if (sourceInfo.exists() && !sourceInfo.isFile()) {
        const QString reason = tr("“%1” couldn’t be imported: it is not a regular file.");
        return Error(Error::CocoaDomain, QFileDevice::OpenError,
                     {{Error::DescriptionKey, reason.arg(sourceInfo.fileName())}});
    }
    // The copy has no name until it is whole, so the library never lists part of it.
    const FileCopy::Result copied = FileCopy::copy(sourcePath, destination, false, cancelled);
    QString reason;
    switch (copied.outcome) {
    case FileCopy::Outcome::Copied:
    case FileCopy::Outcome::DestinationExists: // another import of the same name came first
        return std::nullopt;
    case FileCopy::Outcome::Cancelled:
        reason = tr("the import was cancelled.");
        break;
    case FileCopy::Outcome::Failed:
        reason = copied.reason;
        break;
    }
    const QString message =
        tr("“%1” couldn’t be copied to “%2”: %3").arg(sourceInfo.fileName(), folder, reason);
    return Error(Error::CocoaDomain, QFileDevice::CopyError, {{Error::DescriptionKey, message}});
}

std::optional<Error> TapeLibraryArrayController::moveTapeToTrash(const TapePtr& tape)
{
    std::optional<Error> failure;
    if (auto result = Trash::moveToTrash(tape->filename()); std::holds_alternative<Error>(result)) {
        failure = std::get<Error>(result);
        logError(QStringLiteral("TapeLibraryArrayController_TapeOperations"),
                 QStringLiteral("performFileOperation failed!!!!"));
    }
    // Out of the list at once either way; the folder watch would only drop it later.
    removeObject(tape);
    return failure;
}

Qt::ItemFlags TapeLibraryArrayController::flags(const QModelIndex& index) const
{
    const Qt::ItemFlags base = FilteringArrayController::flags(index);
    return index.isValid() ? base | Qt::ItemIsDragEnabled : base | Qt::ItemIsDropEnabled;
}

QStringList TapeLibraryArrayController::mimeTypes() const
{
    return {QStringLiteral("text/uri-list")};
}

QMimeData* TapeLibraryArrayController::mimeData(const QModelIndexList& indexes) const
{
    QList<QUrl> urls;
    for (const QModelIndex& index : indexes) {
        const TapePtr tape = tapeAtRow(index.row());
        const QUrl url = tape ? QUrl::fromLocalFile(tape->filename()) : QUrl();
        if (tape && !urls.contains(url))
            urls.append(url);
    }
    auto* data = new QMimeData;
    data->setUrls(urls);
    return data;
}

Qt::DropActions TapeLibraryArrayController::supportedDropActions() const
{
    return Qt::CopyAction;
}

Qt::DropActions TapeLibraryArrayController::supportedDragActions() const
{
    return Qt::CopyAction;
}

QList<QUrl> TapeLibraryArrayController::droppableTapeUrls(const QMimeData* data)
{
    QList<QUrl> urls;
    if (!data || !data->hasUrls())
        return urls;
    static const QMimeDatabase database;
    for (const QUrl& url : data->urls()) {
        if (!url.isLocalFile())
            continue;
        const QMimeType type = database.mimeTypeForFile(url.toLocalFile());
        if (type.inherits(QStringLiteral("audio/mp4")) || type.inherits(QStringLiteral("audio/x-m4a")))
            urls.append(url);
    }
    return urls;
}

bool TapeLibraryArrayController::canDropMimeData(const QMimeData* data, Qt::DropAction action, int, int,
                                                 const QModelIndex&) const
{
    return action == Qt::CopyAction && !droppableTapeUrls(data).isEmpty();
}

bool TapeLibraryArrayController::dropMimeData(const QMimeData* data, Qt::DropAction, int, int,
                                              const QModelIndex&)
{
    const QList<QUrl> urls = droppableTapeUrls(data);
    if (!urls.isEmpty())
        Q_EMIT importRequested(urls);
    return true;
}

} // namespace spindrel
