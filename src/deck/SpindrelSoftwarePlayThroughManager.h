#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QThread>
#include <atomic>
#include <functional>
#include <memory>

namespace spindrel {

class DeckPreferences;
class VORLAudioPlaythroughManager;
enum class CAPlayThroughNotice;

/// Keeps the input playing through to the output while the user has asked for it, on the
/// devices and channels of the preferences; any change of them makes the play-through anew.
/// A side left to the default device follows the default; when a chosen device or the sound
/// server goes away, play-through stops with a message and starts again once it is back. The
/// streams are made and taken down on a worker thread, so the deck never waits on the server.
class SpindrelSoftwarePlayThroughManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)

public:
    enum class State {
        Off,         // the preference is off
        Starting,    // the streams are being made
        Running,     // the input is heard
        Interrupted, // on, but the server or a device is missing; starts again when it is back
    };
    Q_ENUM(State)

    /// Starts play-through at once (on the worker) when the preference is on.
    explicit SpindrelSoftwarePlayThroughManager(DeckPreferences& preferences, QObject* parent = nullptr);
    /// Waits for the worker to take the streams down.
    ~SpindrelSoftwarePlayThroughManager() override;

    bool softwarePlaythroughEnabled() const;
    QString recordAudioDeviceUID() const;
    QString playbackAudioDeviceUID() const;
    QList<int> recordDeviceChannels() const;

    State state() const { return mState; }
    /// The play-through now running, if any.
    VORLAudioPlaythroughManager* playthroughManager() const { return mPlaythroughManager.get(); }

Q_SIGNALS:
    void stateChanged(spindrel::SpindrelSoftwarePlayThroughManager::State state);
    /// Play-through stopped by itself or came back: a sentence for the deck's message strip.
    void playThroughMessage(const QString& message);

private:
    struct Attempt;
    static void makePlayThrough(Attempt& attempt, const std::function<void(CAPlayThroughNotice)>& listener);

    void _rebuildPlaythroughManager();
    void rebuild();
    void devicesChanged();
    void engineNotice(quint64 generation, CAPlayThroughNotice notice);
    void attemptFinished(quint64 generation, const std::shared_ptr<Attempt>& attempt);
    void retire(std::unique_ptr<VORLAudioPlaythroughManager> manager);
    QString failureMessage(const Attempt& attempt) const;
    QString deviceName(const QString& deviceUID, const QString& known) const;
    void setState(State state);

    DeckPreferences& mPreferences;
    std::unique_ptr<VORLAudioPlaythroughManager> mPlaythroughManager;
    State mState = State::Off;
    // The attempt wanted now; the worker skips older ones and their results are thrown away.
    std::atomic<quint64> mGeneration{0};
    QString mToldMessage;                 // the failure the user has been told of, until it is over
    QHash<QString, QString> mDeviceNames; // descriptions by UID, kept for when a device is gone
    QThread mWorker;
    std::unique_ptr<QObject> mWorkerContext; // lives on the worker: jobs are queued to it
};

} // namespace spindrel
