#include "deck/SpindrelSoftwarePlayThroughManager.h"

#include "audio/CAPlayThrough.h"
#include "audio/CAPlayThroughHost.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLAudioPlaythroughManager.h"
#include "deck/DeckPreferences.h"
#include "foundation/Log.h"

#include <QCoreApplication>

namespace spindrel {

/// One try at making play-through: what it was asked for, and what came of it.
struct SpindrelSoftwarePlayThroughManager::Attempt
{
    QString inputUID;
    QString outputUID;
    QList<int> channels;
    std::unique_ptr<VORLAudioPlaythroughManager> manager; // set when it runs
    CAPlayThroughFault fault = CAPlayThroughFault::None;
    QString error;     // for the log
    QString inputName; // the devices' descriptions, where the server still knew them
    QString outputName;
};

// On the worker: waits on the sound server as long as it takes.
void SpindrelSoftwarePlayThroughManager::makePlayThrough(
    Attempt& attempt, const std::function<void(CAPlayThroughNotice)>& listener)
{
    auto refuse = [&attempt](CAPlayThroughFault fault, const QString& error) {
        attempt.fault = fault;
        attempt.error = error;
    };
    const VORLAudioDevice input(attempt.inputUID);
    const VORLAudioDevice output(attempt.outputUID);
    if (input.isPresent(VORLAudioDevice::Input))
        attempt.inputName = input.deviceName();
    if (output.isPresent(VORLAudioDevice::Output))
        attempt.outputName = output.deviceName();
    if (!input.serverReachable())
        return refuse(CAPlayThroughFault::SoundServer,
                      QStringLiteral("Could not connect to the sound server"));
    // An unknown UID stands for the default device; a chosen device that is gone must not.
    if (!attempt.inputUID.isEmpty() && !input.isPresent(VORLAudioDevice::Input))
        return refuse(CAPlayThroughFault::InputDevice,
                      QStringLiteral("The input device %1 is not connected").arg(attempt.inputUID));
    if (!attempt.outputUID.isEmpty() && !output.isPresent(VORLAudioDevice::Output))
        return refuse(CAPlayThroughFault::OutputDevice,
                      QStringLiteral("The output device %1 is not connected").arg(attempt.outputUID));

    auto manager =
        std::make_unique<VORLAudioPlaythroughManager>(attempt.inputUID, attempt.outputUID, attempt.channels);
    CAPlayThroughHost& host = *manager->playThroughHost();
    if (!host.isValid())
        return refuse(host.fault(), host.errorString());
    // The same, should the device have gone between the look-up and the set-up.
    const CAPlayThrough& engine = *host.playThrough();
    if (!attempt.inputUID.isEmpty() && engine.inputDevice().mName != attempt.inputUID)
        return refuse(CAPlayThroughFault::InputDevice,
                      QStringLiteral("The input device %1 is gone").arg(attempt.inputUID));
    if (!attempt.outputUID.isEmpty() && engine.outputDevice().mName != attempt.outputUID)
        return refuse(CAPlayThroughFault::OutputDevice,
                      QStringLiteral("The output device %1 is gone").arg(attempt.outputUID));
    host.setNoticeListener(listener);
    if (!manager->start()) {
        return refuse(host.fault() == CAPlayThroughFault::None ? CAPlayThroughFault::SoundServer
                                                               : host.fault(),
                      host.errorString());
    }
    attempt.inputName = engine.inputDevice().mDescription;
    attempt.outputName = engine.outputDevice().mDescription;
    attempt.manager = std::move(manager);
}

SpindrelSoftwarePlayThroughManager::SpindrelSoftwarePlayThroughManager(DeckPreferences& preferences,
                                                                       QObject* parent)
    : QObject(parent), mPreferences(preferences), mWorkerContext(std::make_unique<QObject>())
{
    mWorker.setObjectName(QStringLiteral("Play-through set-up"));
    mWorkerContext->moveToThread(&mWorker);
    mWorker.start();

    // While play-through waits for a device or the server, any news of them may bring it back.
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    connect(hardware, &VORLAudioHardware::deviceListDidChange, this,
            &SpindrelSoftwarePlayThroughManager::devicesChanged);
    connect(hardware, &VORLAudioHardware::defaultInputDeviceDidChange, this,
            &SpindrelSoftwarePlayThroughManager::devicesChanged);
    connect(hardware, &VORLAudioHardware::serverStateDidChange, this,
            [this](VORLAudioHardware::ServerState state) {
                if (state == VORLAudioHardware::ServerState::Running)
                    devicesChanged();
            });

    // Only the switch is observed with its initial value; the devices and channels matter
    // once they change.
    const auto rebuild = &SpindrelSoftwarePlayThroughManager::_rebuildPlaythroughManager;
    connect(&mPreferences, &DeckPreferences::playbackDeviceUIDChanged, this, rebuild);
    connect(&mPreferences, &DeckPreferences::recordDeviceUIDChanged, this, rebuild);
    connect(&mPreferences, &DeckPreferences::recordChannelsChanged, this, rebuild);
    connect(&mPreferences, &DeckPreferences::enableSoftwarePlaythroughChanged, this, rebuild);
    _rebuildPlaythroughManager();
}

SpindrelSoftwarePlayThroughManager::~SpindrelSoftwarePlayThroughManager()
{
    disconnect(&mPreferences, nullptr, this, nullptr);
    ++mGeneration;
    retire(std::move(mPlaythroughManager));
    // Queued behind the jobs before it, so every stream is down once the worker has stopped.
    QMetaObject::invokeMethod(
        mWorkerContext.get(), [] { QThread::currentThread()->quit(); }, Qt::QueuedConnection);
    mWorker.wait();
    mWorkerContext.reset();
    // Results that came too late hold engines; they go now, while this object can still be told.
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
}

bool SpindrelSoftwarePlayThroughManager::softwarePlaythroughEnabled() const
{
    return mPreferences.enableSoftwarePlaythrough();
}

QString SpindrelSoftwarePlayThroughManager::recordAudioDeviceUID() const
{
    return mPreferences.recordDeviceUID();
}

QString SpindrelSoftwarePlayThroughManager::playbackAudioDeviceUID() const
{
    return mPreferences.playbackDeviceUID();
}

QList<int> SpindrelSoftwarePlayThroughManager::recordDeviceChannels() const
{
    return mPreferences.recordChannels();
}

void SpindrelSoftwarePlayThroughManager::_rebuildPlaythroughManager()
{
    // The user changed something: a failure that follows is news again.
    mToldMessage.clear();
    rebuild();
}

void SpindrelSoftwarePlayThroughManager::rebuild()
{
    const quint64 generation = ++mGeneration;
    retire(std::move(mPlaythroughManager));
    if (!softwarePlaythroughEnabled()) {
        mToldMessage.clear();
        setState(State::Off);
        return;
    }
    if (mState != State::Interrupted)
        setState(State::Starting);
    auto attempt = std::make_shared<Attempt>();
    attempt->inputUID = recordAudioDeviceUID();
    attempt->outputUID = playbackAudioDeviceUID();
    attempt->channels = recordDeviceChannels();
    // The engine speaks on sound-server threads; its notices are handled here. It is always
    // taken down on the worker before this object goes.
    CAPlayThroughHost::NoticeListener listener = [this, generation](CAPlayThroughNotice notice) {
        QMetaObject::invokeMethod(
            this, [this, generation, notice] { engineNotice(generation, notice); }, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(
        mWorkerContext.get(),
        [this, generation, attempt, listener] {
            if (generation != mGeneration.load())
                return; // a later attempt is queued behind this one
            makePlayThrough(*attempt, listener);
            QMetaObject::invokeMethod(
                this, [this, generation, attempt] { attemptFinished(generation, attempt); },
                Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
}

void SpindrelSoftwarePlayThroughManager::devicesChanged()
{
    // A running engine watches its own devices; one that is waiting or being made may have
    // missed what just happened.
    if (softwarePlaythroughEnabled() && (mState == State::Interrupted || mState == State::Starting))
        rebuild();
}

void SpindrelSoftwarePlayThroughManager::engineNotice(quint64 generation, CAPlayThroughNotice notice)
{
    if (generation != mGeneration.load())
        return;
    // A new default or format is followed at once; when a device or the server is gone the new
    // attempt fails, and that failure is what the user is told.
    const bool lost = notice == CAPlayThroughNotice::InputLost || notice == CAPlayThroughNotice::OutputLost ||
                      notice == CAPlayThroughNotice::ServerLost;
    if (lost)
        logLine(QStringLiteral("Play-through lost its %1")
                    .arg(notice == CAPlayThroughNotice::ServerLost  ? QStringLiteral("sound server")
                         : notice == CAPlayThroughNotice::InputLost ? QStringLiteral("input device")
                                                                    : QStringLiteral("output device")));
    rebuild();
}

void SpindrelSoftwarePlayThroughManager::attemptFinished(quint64 generation,
                                                         const std::shared_ptr<Attempt>& attempt)
{
    if (generation != mGeneration.load()) {
        retire(std::move(attempt->manager));
        return;
    }
    if (!attempt->inputUID.isEmpty() && !attempt->inputName.isEmpty())
        mDeviceNames.insert(attempt->inputUID, attempt->inputName);
    if (!attempt->outputUID.isEmpty() && !attempt->outputName.isEmpty())
        mDeviceNames.insert(attempt->outputUID, attempt->outputName);
    if (attempt->manager) {
        mPlaythroughManager = std::move(attempt->manager);
        const bool wasInterrupted = !mToldMessage.isEmpty();
        mToldMessage.clear();
        setState(State::Running);
        if (wasInterrupted) {
            logLine(QStringLiteral("Play-through is on again"));
            Q_EMIT playThroughMessage(tr("Play-through is on again, from “%1” to “%2”.")
                                          .arg(attempt->inputName, attempt->outputName));
        }
        return;
    }
    setState(State::Interrupted);
    const QString message = failureMessage(*attempt);
    if (message == mToldMessage)
        return; // still the same trouble
    mToldMessage = message;
    logError(logSourceName(__FILE__), QStringLiteral("Play-through stopped: ") + attempt->error);
    Q_EMIT playThroughMessage(message);
}

QString SpindrelSoftwarePlayThroughManager::failureMessage(const Attempt& attempt) const
{
    switch (attempt.fault) {
    case CAPlayThroughFault::InputDevice:
        if (attempt.inputUID.isEmpty())
            return tr("Play-through stopped: no input device is available.");
        return tr("Play-through stopped: the input device “%1” is not available. It starts again when the "
                  "device is back.")
            .arg(deviceName(attempt.inputUID, attempt.inputName));
    case CAPlayThroughFault::OutputDevice:
        if (attempt.outputUID.isEmpty())
            return tr("Play-through stopped: no output device is available.");
        return tr("Play-through stopped: the output device “%1” is not available. It starts again when the "
                  "device is back.")
            .arg(deviceName(attempt.outputUID, attempt.outputName));
    case CAPlayThroughFault::SoundServer:
    case CAPlayThroughFault::None:
        break;
    }
    return tr("Play-through stopped: the sound server is not available. It starts again when the server "
              "is back.");
}

QString SpindrelSoftwarePlayThroughManager::deviceName(const QString& deviceUID, const QString& known) const
{
    if (!known.isEmpty())
        return known;
    // A device that is gone is named as it was while it was there; one never seen by its UID.
    return mDeviceNames.value(deviceUID, deviceUID);
}

void SpindrelSoftwarePlayThroughManager::retire(std::unique_ptr<VORLAudioPlaythroughManager> manager)
{
    if (!manager)
        return;
    std::shared_ptr<VORLAudioPlaythroughManager> retired(std::move(manager));
    QMetaObject::invokeMethod(
        mWorkerContext.get(),
        [retired]() mutable {
            if (retired->isRunning())
                retired->stop();
            retired.reset();
        },
        Qt::QueuedConnection);
}

void SpindrelSoftwarePlayThroughManager::setState(State state)
{
    if (mState == state)
        return;
    mState = state;
    Q_EMIT stateChanged(state);
}

} // namespace spindrel
