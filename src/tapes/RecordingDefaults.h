#pragma once

#include <QString>
#include <QVariantMap>

// The user defaults a new recording reads, as stored in the settings file.
namespace spindrel::DefaultsKeys {

inline const QString RecordingIsStereo = QStringLiteral("RecordingIsStereo");
inline const QString RecordingQuality = QStringLiteral("RecordingQuality");
inline const QString RecordDeviceChannels = QStringLiteral("RecordDeviceChannels");
inline const QString TapeAuthor = QStringLiteral("TapeAuthor");
inline const QString RecordDeviceUID = QStringLiteral("RecordDeviceUID");
inline const QString SPLockRecordingSampleRate = QStringLiteral("SPLockRecordingSampleRate");

} // namespace spindrel::DefaultsKeys

namespace spindrel {

/// What a recording uses when the user has set nothing: the deck registers these, and so does the
/// command line that records without a deck.
class RecordingDefaults
{
public:
    /// What the deck registers: stereo, quality "LQ", channels 0 and 1, and the user's full name
    /// as the author.
    static QVariantMap deckValues();
    /// What the preferences register: the sample rate follows the quality.
    static QVariantMap preferenceValues();
    /// The user's full name from the system (the login name when none is recorded).
    static QString systemFullUserName();
};

} // namespace spindrel
