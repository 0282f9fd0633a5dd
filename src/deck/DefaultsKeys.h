#pragma once

#include <QString>

// The names of the user defaults, as stored in the settings file.
namespace spindrel::DefaultsKeys {

// Registered by the preferences.
inline const QString PlaySoundEffects = QStringLiteral("PlaySoundEffects");
inline const QString ShowNSStatusItem = QStringLiteral("ShowNSStatusItem");
inline const QString EnableHotKeys = QStringLiteral("EnableHotKeys");
inline const QString SPLockRecordingSampleRate = QStringLiteral("SPLockRecordingSampleRate");
inline const QString SUCheckAtStartup = QStringLiteral("SUCheckAtStartup");
inline const QString LaunchCount = QStringLiteral("LaunchCount");
inline const QString TapeLibraryLocation = QStringLiteral("TapeLibraryLocation");
inline const QString RecordHotKey = QStringLiteral("RecordHotKey");
inline const QString PauseHotKey = QStringLiteral("PauseHotKey");
inline const QString StopHotKey = QStringLiteral("StopHotKey");
inline const QString RecordDeviceUID = QStringLiteral("RecordDeviceUID");
inline const QString PlaybackDeviceUID = QStringLiteral("PlaybackDeviceUID");

// Registered by the deck.
inline const QString RecordingIsStereo = QStringLiteral("RecordingIsStereo");
inline const QString RecordingQuality = QStringLiteral("RecordingQuality");
inline const QString PlaybackVolume = QStringLiteral("PlaybackVolume");
inline const QString EnableSoftwarePlaythrough = QStringLiteral("EnableSoftwarePlaythrough");
inline const QString RecordDeviceChannels = QStringLiteral("RecordDeviceChannels");
inline const QString TapeAuthor = QStringLiteral("TapeAuthor");

} // namespace spindrel::DefaultsKeys
