#pragma once

#include "audio/AudioTestSupport.h"
#include "audio/CAPlayThrough.h"
#include "audio/CAPlayThroughHost.h"
#include "audio/VORLAudioPlaythroughManager.h"
#include "deck/SpindrelSoftwarePlayThroughManager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QStringList>

namespace spindrel::test {

/// What the sound server itself says about the play-through's streams (through pactl, an
/// independent reader): the device each of them is connected to, by name.
inline QStringList playThroughDevices(bool playback)
{
    const QString objects = playback ? QStringLiteral("sinks") : QStringLiteral("sources");
    auto list = [](const QStringList& arguments) {
        return QJsonDocument::fromJson(
                   runProgram(QStringLiteral("pactl"),
                              QStringList{QStringLiteral("-f"), QStringLiteral("json")} + arguments))
            .array();
    };
    QMap<int, QString> names;
    for (const QJsonValue device : list({QStringLiteral("list"), QStringLiteral("short"), objects}))
        names.insert(device[QStringLiteral("index")].toInt(), device[QStringLiteral("name")].toString());
    const QString client = playback ? QStringLiteral("Spindrel play-through output")
                                    : QStringLiteral("Spindrel play-through input");
    QStringList devices;
    const QString streams = playback ? QStringLiteral("sink-inputs") : QStringLiteral("source-outputs");
    for (const QJsonValue stream : list({QStringLiteral("list"), streams})) {
        if (stream[QStringLiteral("properties")][QStringLiteral("application.name")].toString() == client)
            devices << names.value(
                stream[playback ? QStringLiteral("sink") : QStringLiteral("source")].toInt());
    }
    return devices;
}

/// The engine of a play-through that runs, none otherwise.
inline const CAPlayThrough* engineOf(const SpindrelSoftwarePlayThroughManager& manager)
{
    const VORLAudioPlaythroughManager* running = manager.playthroughManager();
    return running && running->isRunning() ? running->playThroughHost()->playThrough() : nullptr;
}

inline QStringList playThroughSinks()
{
    return playThroughDevices(true);
}

inline QStringList playThroughSources()
{
    return playThroughDevices(false);
}

} // namespace spindrel::test
