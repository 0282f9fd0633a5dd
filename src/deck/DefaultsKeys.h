#pragma once

#include "tapes/RecordingDefaults.h"

#include <QString>

// The names of the user defaults, as stored in the settings file (those a recording reads are with
// the recording defaults).
namespace spindrel::DefaultsKeys {

// Registered by the preferences.
inline const QString PlaySoundEffects = QStringLiteral("PlaySoundEffects");
inline const QString ShowNSStatusItem = QStringLiteral("ShowNSStatusItem");
inline const QString EnableHotKeys = QStringLiteral("EnableHotKeys");
inline const QString SUCheckAtStartup = QStringLiteral("SUCheckAtStartup");
inline const QString LaunchCount = QStringLiteral("LaunchCount");
inline const QString TapeLibraryLocation = QStringLiteral("TapeLibraryLocation");
inline const QString RecordHotKey = QStringLiteral("RecordHotKey");
inline const QString PauseHotKey = QStringLiteral("PauseHotKey");
inline const QString StopHotKey = QStringLiteral("StopHotKey");
inline const QString PlaybackDeviceUID = QStringLiteral("PlaybackDeviceUID");

// Registered by the deck.
inline const QString PlaybackVolume = QStringLiteral("PlaybackVolume");
inline const QString EnableSoftwarePlaythrough = QStringLiteral("EnableSoftwarePlaythrough");

} // namespace spindrel::DefaultsKeys
