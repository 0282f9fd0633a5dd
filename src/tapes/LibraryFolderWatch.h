#pragma once

#include <QCoreApplication>
#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QTimer>
#include <atomic>
#include <memory>

namespace spindrel {

/// Keeps an eye on whether the library folder can be used: it may be deleted, renamed, made
/// unreadable or sit on a disk that is unplugged. The folder is examined on a worker thread (a
/// hung network mount must not stop the deck) when anything around it changes and once a second,
/// and every change of state is reported on the thread that owns the watch.
class LibraryFolderWatch : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Unknown,    // not examined yet
        Available,  // a folder we may list and write
        Missing,    // nothing there (or a parent folder is gone)
        NotAFolder, // something else lies at the path
        Unreadable, // a folder we may not list
        ReadOnly    // a folder we may list but not write
    };
    Q_ENUM(State)

    explicit LibraryFolderWatch(QObject* parent = nullptr);
    ~LibraryFolderWatch() override;

    /// Starts watching `path` (dropping the folder watched before) and examines it at once.
    void setFolder(const QString& path);
    QString folder() const { return mFolder; }
    /// The state the last examination found.
    State state() const { return mState; }
    /// A sentence for the user naming the folder and what is wrong with it; empty when nothing is.
    QString problemText() const;

    /// What lies at `path`, looked at on the calling thread (it may block on a slow disk).
    static State examine(const QString& path);

Q_SIGNALS:
    /// The folder's state differs from the one before (the first examination always reports).
    void stateChanged(spindrel::LibraryFolderWatch::State state);

private:
    void examineSoon();
    void examined(quint64 generation, State state);
    void rewatch();

    QString mFolder;
    State mState = State::Unknown;
    QTimer mPoll;
    std::unique_ptr<QFileSystemWatcher> mWatcher;
    quint64 mGeneration = 0; // bumped per folder, so a late answer about an old folder is dropped
    std::shared_ptr<std::atomic<bool>> mExamining;
};

} // namespace spindrel
