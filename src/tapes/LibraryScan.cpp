#include "tapes/LibraryScan.h"

#include "MP4Tags/MP4Tags.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QElapsedTimer>
#include <QThread>

namespace spindrel {

namespace {
// A batch goes to the list when it is this large or this old, so the list fills at a pace the
// eye can follow without a rearrangement per tape.
constexpr int kBatchSize = 64;
constexpr int kBatchMs = 100;
} // namespace

LibraryScan::LibraryScan(Request request, QObject* parent)
    : QObject(parent), mRequest(std::move(request)), mHome(thread())
{
}

LibraryScan::~LibraryScan()
{
    cancel();
    if (mThread) {
        mThread->wait();
        delete mThread;
    }
}

void LibraryScan::retire(std::unique_ptr<LibraryScan> scan)
{
    if (!scan)
        return;
    scan->cancel();
    scan->disconnect();
    LibraryScan* retired = scan.release();
    if (retired->mThread)
        connect(retired->mThread, &QThread::finished, retired, &QObject::deleteLater);
    // A thread that ended before the connection was made sends nothing more.
    if (!retired->mThread || retired->mThread->isFinished())
        delete retired;
}

void LibraryScan::start()
{
    if (mThread)
        return;
    mThread = QThread::create([this] { run(); });
    mThread->setObjectName(QStringLiteral("Library scan"));
    mThread->start(QThread::LowPriority);
}

void LibraryScan::post(std::function<void()> call)
{
    // Queued to this object, so a call still on its way when the scan is deleted never runs.
    QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection);
}

void LibraryScan::run()
{
    const QString& folder = mRequest.folder;
    if (mRequest.tidy) {
        MP4Tags::removeStaleEditFiles(folder);
        TapeLibraryArrayController::recoverInterruptedRecordings(folder);
    }
    const QStringList found = TapeLibraryArrayController::soundFileList(folder);
    const QSet<QString> foundSet(found.begin(), found.end());
    QStringList gone;
    for (const QString& path : std::as_const(mRequest.known)) {
        if (!foundSet.contains(path))
            gone.append(path);
    }
    QStringList fresh;
    for (const QString& path : found) {
        if (!mRequest.known.contains(path))
            fresh.append(path);
    }
    post([this, gone, count = int(fresh.size())] { Q_EMIT listed(gone, count); });

    QList<TapePtr> batch;
    QElapsedTimer age;
    age.start();
    const auto handOver = [&] {
        // Made here, the tapes belong to the thread that receives them.
        for (const TapePtr& tape : std::as_const(batch))
            tape->moveToThread(mHome);
        post([this, tapes = std::exchange(batch, {})] { Q_EMIT loaded(tapes); });
        age.restart();
    };
    for (const QString& path : std::as_const(fresh)) {
        if (mCancelled)
            return;
        batch.append(std::make_shared<Tape>(path));
        if (batch.size() >= kBatchSize || age.elapsed() >= kBatchMs)
            handOver();
    }
    if (mCancelled)
        return;
    if (!batch.isEmpty())
        handOver();
    post([this] { Q_EMIT finished(); });
}

} // namespace spindrel
