#include "app/PreferencesController.h"

#include "app/LibraryFolder.h"
#include "app/PreferencesWindow.h"
#include "app/UserDefaults.h"
#include "audio/VORLAudioHardware.h"
#include "deck/DefaultsKeys.h"
#include "tapes/RecordingDefaults.h"

#include <QCoreApplication>

namespace spindrel {

namespace K = DefaultsKeys;

namespace {

QVariantMap hotKeyCombo(int keyCode, int modifiers)
{
    return {{QStringLiteral("keyCode"), keyCode}, {QStringLiteral("modifiers"), modifiers}};
}

bool contains(const QList<VORLAudioDevice>& devices, const VORLAudioDevice& device)
{
    return std::find(devices.begin(), devices.end(), device) != devices.end();
}

} // namespace

PreferencesController& PreferencesController::sharedInstance()
{
    static PreferencesController* shared = [] {
        UserDefaults& defaults = UserDefaults::standardUserDefaults();
        registerPreferenceDefaults(defaults);
        return new PreferencesController(defaults, QString(), qApp);
    }();
    return *shared;
}

QVariantMap PreferencesController::preferenceDefaults()
{
    QVariantMap defaults{
        {K::PlaySoundEffects, true},
        {K::ShowNSStatusItem, true},
        {K::EnableHotKeys, true},
        // Command and Shift with 7, 8 and 9 of a US layout.
        {K::RecordHotKey, hotKeyCombo(26, 768)},
        {K::PauseHotKey, hotKeyCombo(28, 768)},
        {K::StopHotKey, hotKeyCombo(25, 768)},
    };
    defaults.insert(RecordingDefaults::preferenceValues());
    return defaults;
}

void PreferencesController::registerPreferenceDefaults(UserDefaults& defaults, const QString& libraryPath)
{
    QVariantMap registration = preferenceDefaults();
    // The updater stays quiet during the first three launches.
    const qint64 launches = defaults.integerForKey(K::LaunchCount) + 1;
    defaults.setObject(launches, K::LaunchCount);
    if (launches < 4)
        registration.insert(K::SUCheckAtStartup, false);

    const QString folder = libraryPath.isEmpty() ? LibraryFolder::defaultPath() : libraryPath;
    LibraryFolder::setUp(folder);
    registration.insert(K::TapeLibraryLocation, folder);
    defaults.registerDefaults(registration);
}

PreferencesController::PreferencesController(UserDefaults& defaults, const QString& libraryPath,
                                             QObject* parent)
    : DeckPreferences(parent), mDefaults(defaults)
{
    if (!libraryPath.isEmpty())
        registerPreferenceDefaults(defaults, libraryPath);
    connect(&mDefaults, &UserDefaults::changed, this, &PreferencesController::defaultsDidChange);
    connect(this, &DeckPreferences::recordingIsStereoChanged, this,
            &PreferencesController::fitChannelsToStereo);
    connect(this, &DeckPreferences::recordDeviceUIDChanged, this, &PreferencesController::forgetChannels);
    fitChannelsToStereo();
}

PreferencesController::~PreferencesController()
{
    delete mWindow;
}

QVariant PreferencesController::defaultsValue(const QString& key) const
{
    return mDefaults.objectForKey(key);
}

void PreferencesController::setDefaultsValue(const QString& key, const QVariant& value)
{
    mDefaults.setObject(value, key);
}

void PreferencesController::registerDefaults(const QVariantMap& defaults)
{
    mDefaults.registerDefaults(defaults);
}

void PreferencesController::checkDefaultAudioDevices()
{
    const QString recordUID = recordDeviceUID();
    if (!recordUID.isEmpty() &&
        !contains(VORLAudioHardware::recordingDevices(), VORLAudioDevice(recordUID))) {
        mDefaults.removeObjectForKey(K::RecordDeviceUID);
        Q_EMIT recordDeviceChangedNotification();
    }
    const QString playbackUID = playbackDeviceUID();
    if (!playbackUID.isEmpty() &&
        !contains(VORLAudioHardware::playbackDevices(), VORLAudioDevice(playbackUID)))
        mDefaults.removeObjectForKey(K::PlaybackDeviceUID);
    refreshWindow();
}

QList<PreferencesController::ChannelChoice> PreferencesController::channelChoices(unsigned channelCount,
                                                                                  bool stereo)
{
    QList<ChannelChoice> choices;
    if (stereo) {
        for (unsigned k = 0; k < channelCount / 2; ++k)
            choices.append({QStringLiteral("%1-%2").arg(2 * k + 1).arg(2 * k + 2), {2 * k, 2 * k + 1}});
    } else {
        for (unsigned k = 0; k < channelCount; ++k)
            choices.append({QString::number(k + 1), {k}});
    }
    return choices;
}

QList<int> PreferencesController::channelsForStereo(const QList<int>& channels, bool stereo)
{
    if (channels.isEmpty())
        return channels;
    if (!stereo)
        return channels.size() == 1 ? channels : channels.mid(0, 1);
    if (channels.size() == 2)
        return channels;
    const int pair = 2 * (std::max(channels.first(), 0) / 2);
    return {pair, pair + 1};
}

void PreferencesController::recordDeviceChanged(const QString& deviceUID)
{
    setRecordDeviceUID(deviceUID);
    Q_EMIT recordDeviceChangedNotification();
}

void PreferencesController::recordDeviceChannelsChanged(const QList<unsigned>& channels)
{
    QList<int> stored;
    for (unsigned channel : channels)
        stored.append(int(channel));
    setRecordChannels(stored);
    Q_EMIT recordDeviceChannelsChangedNotification();
}

void PreferencesController::playbackDeviceChanged(const QString& deviceUID)
{
    // Play-through follows the default itself; nothing is announced.
    setPlaybackDeviceUID(deviceUID);
}

void PreferencesController::fitChannelsToStereo()
{
    refreshWindow();
    const QList<int> stored = recordChannels();
    const QList<int> fitted = channelsForStereo(stored, recordingIsStereo());
    if (fitted != stored)
        setRecordChannels(fitted);
    refreshWindow();
    Q_EMIT recordDeviceChannelsChangedNotification();
}

void PreferencesController::forgetChannels()
{
    mDefaults.removeObjectForKey(K::RecordDeviceChannels);
    refreshWindow();
}

void PreferencesController::showWindow(const QWidget* centredOn)
{
    if (!mWindow)
        mWindow = new PreferencesWindow(*this);
    mWindow->refresh();
    if (centredOn && !mWindow->isVisible())
        mWindow->centreOn(*centredOn);
    mWindow->show();
    mWindow->raise();
    mWindow->activateWindow();
}

void PreferencesController::refreshWindow()
{
    if (mWindow)
        mWindow->refresh();
}

} // namespace spindrel
