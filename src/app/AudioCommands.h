#pragma once

#include "app/CommandLine.h"

#include <QList>
#include <optional>

namespace spindrel {

class VORLAudioDevice;

CommandLine::Command devicesCommand();
CommandLine::Command playCommand();
CommandLine::Command meterCommand();
CommandLine::Command recordRawCommand();

namespace audiocommands {

/// Zero-based channel numbers from "2,3"; nothing when the text is not such a list.
std::optional<QList<unsigned>> parseChannels(const QString& text);
/// The device for a UID given on the command line, or the default one for the direction.
VORLAudioDevice deviceForUID(const QString& uid, unsigned direction);
/// Calls `interrupted` on the event loop when the user presses Ctrl-C (SIGINT), from now on.
void onInterrupt(std::function<void()> interrupted);
/// "m:ss.mmm" for milliseconds.
QString formatMilliseconds(double milliseconds);

} // namespace audiocommands
} // namespace spindrel
