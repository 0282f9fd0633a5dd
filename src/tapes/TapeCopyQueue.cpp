#include "tapes/TapeCopyQueue.h"

#include "foundation/Log.h"
#include "tapes/TapeLibraryArrayController.h"

namespace spindrel {

TapeCopyQueue::TapeCopyQueue(QObject* parent) : QObject(parent)
{
    // One copy at a time: two at once on one disk are slower than one after the other, and the
    // requests finish in the order they were made.
    mWorker.setMaxThreadCount(1);
}

TapeCopyQueue::~TapeCopyQueue()
{
    if (mRequests > 0)
        logError(QStringLiteral("TapeCopyQueue"),
                 QStringLiteral("%1 copy requests cancelled on the way out").arg(mRequests));
    mCancelled = true;
    mWorker.clear();
    mWorker.waitForDone();
    // What the worker posted meanwhile goes with this object, undelivered.
}

void TapeCopyQueue::post(std::function<void()> step)
{
    QMetaObject::invokeMethod(this, std::move(step), Qt::QueuedConnection);
}

void TapeCopyQueue::importTapes(const QList<QUrl>& urls, const QString& folder)
{
    ++mRequests;
    mImportsTotal += int(urls.size());
    Q_EMIT progressChanged();
    mWorker.start([this, urls, folder] {
        QList<Error> errors;
        for (const QUrl& url : urls) {
            if (auto error = TapeLibraryArrayController::copyTapeInto(folder, url, &mCancelled))
                errors.append(*error);
            post([this] {
                ++mImportsDone;
                Q_EMIT progressChanged();
            });
        }
        post([this, errors] {
            Q_EMIT imported(errors);
            requestDone();
        });
    });
}

void TapeCopyQueue::exportTape(const QString& source, const QString& destination,
                               TapeExport::ExistingFile existing)
{
    ++mRequests;
    ++mExportsTotal;
    Q_EMIT progressChanged();
    mWorker.start([this, source, destination, existing] {
        const std::optional<Error> error = TapeExport::exportFile(source, destination, existing, &mCancelled);
        post([this, destination, error] {
            ++mExportsDone;
            Q_EMIT exported(destination, error);
            requestDone();
        });
    });
}

void TapeCopyQueue::cancel()
{
    if (mRequests > 0)
        mCancelled = true;
}

void TapeCopyQueue::requestDone()
{
    if (--mRequests > 0) {
        Q_EMIT progressChanged();
        return;
    }
    mImportsTotal = mImportsDone = mExportsTotal = mExportsDone = 0;
    mCancelled = false;
    Q_EMIT progressChanged();
    Q_EMIT idle();
}

} // namespace spindrel
