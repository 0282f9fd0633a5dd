#pragma once

#include "app/CommandLine.h"

// One factory per command, each in its own source file.
namespace spindrel {

CommandLine::Command tagsCommand();
CommandLine::Command probeCommand();
CommandLine::Command tapeCommand();
CommandLine::Command renderCassetteCommand();
CommandLine::Command libraryCommand();
CommandLine::Command importCommand();
CommandLine::Command devicesCommand();
CommandLine::Command playCommand();
CommandLine::Command meterCommand();
CommandLine::Command recordRawCommand();
CommandLine::Command exportMovieCommand();
CommandLine::Command recordCommand();
CommandLine::Command trashCommand();
CommandLine::Command addToMusicCommand();
CommandLine::Command exportCommand();
CommandLine::Command recoverCommand();

} // namespace spindrel
