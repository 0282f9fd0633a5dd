#include "tapes/RecordingDefaults.h"

#include <pwd.h>
#include <unistd.h>

namespace spindrel {

namespace K = DefaultsKeys;

QVariantMap RecordingDefaults::deckValues()
{
    return {
        {K::RecordingIsStereo, true},
        {K::RecordingQuality, QStringLiteral("LQ")},
        {K::RecordDeviceChannels, QVariantList{0, 1}},
        {K::TapeAuthor, systemFullUserName()},
    };
}

QVariantMap RecordingDefaults::preferenceValues()
{
    return {{K::SPLockRecordingSampleRate, true}};
}

QString RecordingDefaults::systemFullUserName()
{
    if (const passwd* entry = getpwuid(getuid())) {
        // The full name is the first field of the comment ("Jane Doe,Room 1,...").
        const QString gecos = QString::fromLocal8Bit(entry->pw_gecos ? entry->pw_gecos : "");
        const QString name = gecos.section(QLatin1Char(','), 0, 0).trimmed();
        return name.isEmpty() ? QString::fromLocal8Bit(entry->pw_name) : name;
    }
    return qEnvironmentVariable("USER");
}

} // namespace spindrel
