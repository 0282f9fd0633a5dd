#pragma once

#include "audio/RecordingRecovery.h"
#include "tapes/FilteringArrayController.h"
#include "tapes/LibraryScan.h"

#include <QFileSystemWatcher>
#include <QTimer>
#include <QUrl>
#include <atomic>
#include <memory>

namespace spindrel {

/// The library: one Tape per .m4a file lying directly in the library folder, kept in step with
/// the folder by a watch whose events are coalesced over 0.2 s.
class TapeLibraryArrayController : public FilteringArrayController
{
    Q_OBJECT

public:
    enum class Loading {
        AtOnce,       // the library is full as soon as it exists
        InBackground, // a background scan fills it; the watch's merges run in the background too
    };

    /// Removes what interrupted tag edits left, recovers recordings that a crash interrupted, then
    /// scans the folder.
    explicit TapeLibraryArrayController(const QString& folderPath, Loading loading = Loading::AtOnce,
                                        QObject* parent = nullptr);
    ~TapeLibraryArrayController() override;

    const QString& folderPath() const { return mFolderPath; }
    /// Changes the folder that scans read; a running watch keeps the path it was started with.
    /// A background scan of the old folder is dropped.
    void setFolderPath(const QString& folderPath);

    /// Full paths of the folder's tapes: regular files (or links to them) whose names end in ".m4a"
    /// exactly, but for the hidden temporaries of tag edits and imports; no recursion, in listing
    /// order. A FIFO, socket or device is never opened.
    QStringList soundFileList() const { return soundFileList(mFolderPath); }
    /// With `leftovers`, also tells whether the folder holds what interrupted edits, finishes or
    /// recordings left.
    static QStringList soundFileList(const QString& folder, bool* leftovers = nullptr);
    /// Clears what interrupted edits, imports and recordings left, when the folder holds any, and
    /// lists it.
    static QStringList tidyAndList(const QString& folder);
    /// Brings the content in line with the folder: gone files leave, new files come in as tapes.
    void checkRecordingDirectory();
    /// The same merge, read on a thread of its own: gone tapes leave first, then new tapes come in
    /// batches as they are read, and the newest tape is selected at the end unless someone chose
    /// another meanwhile. A request during a scan runs one more scan after it. With `tidy`, what
    /// interrupted edits and recordings left is cleared first.
    void scanInBackground(bool tidy = false);
    bool isScanning() const { return mScan != nullptr || mScanPending; }
    /// True while a background scan's tapes go in, and while its own choice of tape is made.
    bool isApplyingScan() const { return mApplyingScan; }
    /// How many new files the running (or last) background scan found, and has read so far.
    int scanTotal() const { return mScanTotal; }
    int scanLoaded() const { return mScanLoaded; }
    /// Turns what crashed recordings left in `folder` into tapes: each recovered file is an
    /// ordinary .m4a, titled "Untitled", dated when its recording began and named after both as
    /// a finished recording is. Recordings other processes are making are left alone. The next
    /// scan lists the new tapes.
    static QList<RecordingRecovery::Result> recoverInterruptedRecordings(const QString& folder);

    void startMonitoringRecordingDirectory();
    void pauseMonitoringRecordingDirectory();
    void resumeMonitoringRecordingDirectory();
    void stopMonitoringRecordingDirectory();
    bool isMonitoring() const { return mWatcher != nullptr && mWatching; }

    /// Copies a file into the folder under its own name, whole or not at all (see FileCopy); an
    /// existing name, or one taken while the copy runs, is skipped silently. A source that is not a
    /// regular file is refused; a damaged one is copied as it is. The deck copies on a worker
    /// (TapeCopyQueue); copyTapeInto may run on any thread.
    std::optional<Error> copyTape(const QUrl& source) const { return copyTapeInto(mFolderPath, source); }
    static std::optional<Error> copyTapeInto(const QString& folder, const QUrl& source,
                                             const std::atomic<bool>* cancelled = nullptr);

    /// Trashes the tape's file (freedesktop trash) and removes it from the content at once, even
    /// when the file could not be trashed (a vanished file); that failure is logged and returned.
    std::optional<Error> moveTapeToTrash(const TapePtr& tape);

    // Drag and drop on the tape box table: tapes drag out as files, .m4a files drop in.
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;
    /// The MPEG-4 audio files among dropped URLs.
    static QList<QUrl> droppableTapeUrls(const QMimeData* data);

Q_SIGNALS:
    /// Dropped .m4a files for the deck's import (which copies and reports errors).
    void importRequested(const QList<QUrl>& urls);
    /// A file event reached the folder (the merge has run, or in the background, has begun).
    void folderChanged();
    /// A background scan read `loaded` of the `total` new files it found.
    void scanProgress(int loaded, int total);
    /// A batch of tapes read in the background is in the content.
    void tapesLoaded(const QList<spindrel::TapePtr>& tapes);
    void scanFinished();

private:
    void checkRecordingDirectory(const QStringList& found);
    void folderEvent();
    void coalescedFolderEvents();
    void scanListed(const QStringList& gone, int newFiles);
    void takeScanBatch(const QList<TapePtr>& tapes);
    void scanDone();

    QString mFolderPath;
    QString mWatchedPath;
    std::unique_ptr<QFileSystemWatcher> mWatcher;
    QTimer mCoalesce;
    int mPendingEvents = 0;
    bool mWatching = false;

    Loading mLoading;
    std::unique_ptr<LibraryScan> mScan;
    bool mScanPending = false; // the first background scan, not yet begun
    bool mScanAgain = false;
    bool mApplyingScan = false;
    bool mTidyAgain = false;
    bool mOtherArrivals = false;         // tapes came in by another way since the scan began
    QList<TapePtr> mSelectionBeforeScan; // what the scan may replace with the newest tape
    int mScanTotal = 0;
    int mScanLoaded = 0;
};

} // namespace spindrel
