#include "tapes/LibraryFolderWatch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QThreadPool>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {
constexpr int kPollMs = 1000;
} // namespace

LibraryFolderWatch::LibraryFolderWatch(QObject* parent)
    : QObject(parent), mExamining(std::make_shared<std::atomic<bool>>(false))
{
    mPoll.setInterval(kPollMs);
    connect(&mPoll, &QTimer::timeout, this, &LibraryFolderWatch::examineSoon);
}

LibraryFolderWatch::~LibraryFolderWatch() = default;

void LibraryFolderWatch::setFolder(const QString& path)
{
    mFolder = QDir::cleanPath(path);
    ++mGeneration;
    mState = State::Unknown;
    rewatch();
    mPoll.start();
    // A new folder must be examined even while an answer about the old one is still out.
    mExamining->store(false);
    examineSoon();
}

QString LibraryFolderWatch::problemText() const
{
    const QString name = QDir::toNativeSeparators(mFolder);
    switch (mState) {
    case State::Missing:
        return tr("The tape library folder %1 is not there: it was moved or deleted, or its disk is not "
                  "connected. Your tapes come back as soon as it is.")
            .arg(name);
    case State::NotAFolder:
        return tr("The tape library %1 is not a folder.").arg(name);
    case State::Unreadable:
        return tr("Spindrel is not allowed to open the tape library folder %1.").arg(name);
    case State::ReadOnly:
        return tr("Spindrel is not allowed to change the tape library folder %1: new recordings and "
                  "edits cannot be saved there.")
            .arg(name);
    case State::Unknown:
    case State::Available:
        break;
    }
    return {};
}

LibraryFolderWatch::State LibraryFolderWatch::examine(const QString& path)
{
    struct stat status;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return errno == EACCES ? State::Unreadable : State::Missing;
    if (!S_ISDIR(status.st_mode))
        return State::NotAFolder;
    const QByteArray name = QFile::encodeName(path);
    if (::access(name.constData(), R_OK | X_OK) != 0)
        return State::Unreadable;
    if (::access(name.constData(), W_OK) != 0)
        return State::ReadOnly;
    return State::Available;
}

void LibraryFolderWatch::examineSoon()
{
    if (mFolder.isEmpty() || mExamining->exchange(true))
        return; // one examination at a time: a hung disk must not pile up workers
    const QString folder = mFolder;
    const quint64 generation = mGeneration;
    const std::shared_ptr<std::atomic<bool>> examining = mExamining;
    const QPointer<LibraryFolderWatch> self(this);
    QThreadPool::globalInstance()->start([self, folder, generation, examining] {
        const State state = examine(folder);
        examining->store(false);
        // The answer goes back to the watch's thread; a watch that is gone by then gets nothing.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, generation, state] {
                if (self)
                    self->examined(generation, state);
            },
            Qt::QueuedConnection);
    });
}

void LibraryFolderWatch::examined(quint64 generation, State state)
{
    if (generation != mGeneration || state == mState)
        return;
    const bool wasAvailable = mState == State::Available;
    mState = state;
    // A folder that came back (or was made again) is a new directory to the kernel's watch.
    if (state == State::Available && !wasAvailable)
        rewatch();
    Q_EMIT stateChanged(state);
}

void LibraryFolderWatch::rewatch()
{
    // The folder for changes of its own mode, its parent for it being renamed, deleted or made.
    mWatcher = std::make_unique<QFileSystemWatcher>();
    connect(mWatcher.get(), &QFileSystemWatcher::directoryChanged, this, &LibraryFolderWatch::examineSoon);
    const QString parent = QFileInfo(mFolder).absolutePath();
    for (const QString& path : {mFolder, parent}) {
        if (!path.isEmpty() && QFileInfo::exists(path))
            mWatcher->addPath(path);
    }
}

} // namespace spindrel
