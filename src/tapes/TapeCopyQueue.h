#pragma once

#include "foundation/Error.h"
#include "tapes/TapeExport.h"

#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QUrl>
#include <atomic>
#include <functional>
#include <optional>

namespace spindrel {

/// Imports and exports tapes' files on a thread of its own, one request after the other in the
/// order asked, so that no copy holds up the deck however large the files. Each request's outcome
/// comes back on the queue's own thread, once all of its copies are done.
class TapeCopyQueue : public QObject
{
    Q_OBJECT

public:
    explicit TapeCopyQueue(QObject* parent = nullptr);
    /// Cancels the copy under way, whose temporary goes with it, and drops the requests not begun;
    /// their outcomes never come. For a process on its way out: the deck waits for idle() instead.
    ~TapeCopyQueue() override;

    /// Copies the files into `folder` as TapeLibraryArrayController::copyTapeInto does; imported()
    /// tells the errors once every one is done.
    void importTapes(const QList<QUrl>& urls, const QString& folder);
    /// exported() tells how it went.
    void exportTape(const QString& source, const QString& destination,
                    TapeExport::ExistingFile existing = TapeExport::ExistingFile::Keep);

    /// Stops the copy under way, whose file goes with it, and the requests not yet begun, until the
    /// queue is next idle: each ends with its cancel error, told as usual.
    void cancel();

    bool isIdle() const { return mRequests == 0; }
    /// The files asked for since the queue was last idle, and how many of them are done.
    int importsTotal() const { return mImportsTotal; }
    int importsDone() const { return mImportsDone; }
    int exportsTotal() const { return mExportsTotal; }
    int exportsDone() const { return mExportsDone; }

Q_SIGNALS:
    void imported(const QList<spindrel::Error>& errors);
    void exported(const QString& destination, const std::optional<spindrel::Error>& error);
    void progressChanged();
    /// Every request is done and its outcome told.
    void idle();

private:
    /// From the worker: the step runs on this object's thread, after those posted before it.
    void post(std::function<void()> step);
    void requestDone();

    std::atomic<bool> mCancelled = false;
    QThreadPool mWorker;

    // Main thread.
    int mRequests = 0;
    int mImportsTotal = 0;
    int mImportsDone = 0;
    int mExportsTotal = 0;
    int mExportsDone = 0;
};

} // namespace spindrel
