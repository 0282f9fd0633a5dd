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

QVariantList variantList(const QList<int>& numbers)
{
    QVariantList list;
    for (int number : numbers)
        list.append(number);
    return list;
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
    connect(&mDefaults, &UserDefaults::changed, this, &DeckPreferences::defaultsChanged);
    mDefaults.observe(K::RecordingIsStereo, this, [this] { recordingIsStereoChanged(); });
    connect(&mDefaults, &UserDefaults::changed, this, [this](const QString& key) {
        if (key == K::RecordDeviceUID)
            recordDeviceUIDChanged();
    });
    mDefaults.observe(K::TapeLibraryLocation, this, [this] { tapeLibraryLocationChanged(); });
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

VORLAudioDevice PreferencesController::recordingAudioDevice() const
{
    const QString uid = mDefaults.stringForKey(K::RecordDeviceUID);
    return uid.isEmpty() ? VORLAudioHardware::defaultInputDevice() : VORLAudioDevice(uid);
}

VORLAudioDevice PreferencesController::playbackAudioDevice() const
{
    const QString uid = mDefaults.stringForKey(K::PlaybackDeviceUID);
    return uid.isEmpty() ? VORLAudioHardware::defaultOutputDevice() : VORLAudioDevice(uid);
}

QList<unsigned> PreferencesController::recordingAudioDeviceChannels() const
{
    QList<int> stored = mDefaults.integerArrayForKey(K::RecordDeviceChannels);
    if (!mDefaults.boolForKey(K::RecordingIsStereo) && stored.size() >= 2)
        stored = stored.mid(0, 1);
    QList<unsigned> channels;
    for (int channel : stored)
        channels.append(unsigned(std::max(channel, 0)));
    return channels;
}

bool PreferencesController::playSoundEffects() const
{
    return mDefaults.boolForKey(K::PlaySoundEffects);
}

bool PreferencesController::showNSStatusItem() const
{
    return mDefaults.boolForKey(K::ShowNSStatusItem);
}

bool PreferencesController::enableHotKeys() const
{
    return mDefaults.boolForKey(K::EnableHotKeys);
}

void PreferencesController::checkDefaultAudioDevices()
{
    const QString recordUID = mDefaults.stringForKey(K::RecordDeviceUID);
    if (!recordUID.isEmpty() &&
        !contains(VORLAudioHardware::recordingDevices(), VORLAudioDevice(recordUID))) {
        mDefaults.removeObjectForKey(K::RecordDeviceUID);
        Q_EMIT recordDeviceChangedNotification();
    }
    const QString playbackUID = mDefaults.stringForKey(K::PlaybackDeviceUID);
    if (!playbackUID.isEmpty() &&
        !contains(VORLAudioHardware::playbackDevices(), VORLAudioDevice(playbackUID)))
        mDefaults.removeObjectForKey(K::PlaybackDeviceUID);
    refreshWindow();
}

PTKeyCombo PreferencesController::recordHotKeyCombo() const
{
    return PTKeyCombo::fromPlistRepresentation(mDefaults.objectForKey(K::RecordHotKey));
}

PTKeyCombo PreferencesController::pauseHotKeyCombo() const
{
    return PTKeyCombo::fromPlistRepresentation(mDefaults.objectForKey(K::PauseHotKey));
}

PTKeyCombo PreferencesController::stopHotKeyCombo() const
{
    return PTKeyCombo::fromPlistRepresentation(mDefaults.objectForKey(K::StopHotKey));
}

void PreferencesController::setRecordHotKeyCombo(const PTKeyCombo& combo)
{
    mDefaults.setObject(combo.plistRepresentation(), K::RecordHotKey);
}

void PreferencesController::setPauseHotKeyCombo(const PTKeyCombo& combo)
{
    mDefaults.setObject(combo.plistRepresentation(), K::PauseHotKey);
}

void PreferencesController::setStopHotKeyCombo(const PTKeyCombo& combo)
{
    mDefaults.setObject(combo.plistRepresentation(), K::StopHotKey);
}

void PreferencesController::setTapeLibraryURL(const QString& path)
{
    mDefaults.setObject(path, K::TapeLibraryLocation);
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
    if (deviceUID.isEmpty())
        mDefaults.removeObjectForKey(K::RecordDeviceUID);
    else
        mDefaults.setObject(deviceUID, K::RecordDeviceUID);
    Q_EMIT recordDeviceChangedNotification();
}

void PreferencesController::recordDeviceChannelsChanged(const QList<unsigned>& channels)
{
    QVariantList list;
    for (unsigned channel : channels)
        list.append(int(channel));
    mDefaults.setObject(list, K::RecordDeviceChannels);
    Q_EMIT recordDeviceChannelsChangedNotification();
}

void PreferencesController::playbackDeviceChanged(const QString& deviceUID)
{
    // Play-through follows the default itself; nothing is announced.
    if (deviceUID.isEmpty())
        mDefaults.removeObjectForKey(K::PlaybackDeviceUID);
    else
        mDefaults.setObject(deviceUID, K::PlaybackDeviceUID);
}

void PreferencesController::recordingIsStereoChanged()
{
    refreshWindow();
    const QList<int> stored = mDefaults.integerArrayForKey(K::RecordDeviceChannels);
    const QList<int> fitted = channelsForStereo(stored, mDefaults.boolForKey(K::RecordingIsStereo));
    if (fitted != stored)
        mDefaults.setObject(variantList(fitted), K::RecordDeviceChannels);
    refreshWindow();
    Q_EMIT recordDeviceChannelsChangedNotification();
}

void PreferencesController::recordDeviceUIDChanged()
{
    // A new device starts from the default channels.
    mDefaults.removeObjectForKey(K::RecordDeviceChannels);
    refreshWindow();
}

void PreferencesController::tapeLibraryLocationChanged()
{
    mTapeLibraryPath = mDefaults.stringForKey(K::TapeLibraryLocation);
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
