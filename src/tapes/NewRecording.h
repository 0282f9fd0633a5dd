#pragma once

#include "audio/VORLExtendedAudioFileRecorder.h"
#include "tapes/Tape.h"

#include <QCoreApplication>
#include <QList>
#include <memory>

namespace spindrel {

/// The making of a new recording, shared by the deck and the command line: the tape named by a
/// fresh UUID with its first metadata, and the recorder writing its file.
class NewRecording
{
    Q_DECLARE_TR_FUNCTIONS(NewRecording)

public:
    /// The title of a tape just recorded: "Untitled".
    static QString newTitle();
    /// A fresh UUID with the extension "m4a": 36 characters, a dot and "m4a".
    static QString newFilename();
    /// A tape for a new file in `folder`: title "Untitled", empty notes, the current date, the
    /// author as artist (none when null), letter "A", and the quality it will be recorded in.
    static TapePtr tapeForRecording(const QString& folder, const QString& title, const QString& author,
                                    const QString& quality);
    /// A recorder (not yet started) writing the tape's file in `quality` from `device`; null, with
    /// the reason in `error`, when the file cannot be made.
    static std::unique_ptr<VORLExtendedAudioFileRecorder>
    recorderForTape(const Tape& tape, const QString& quality, bool stereo, const VORLAudioDevice& device,
                    const QList<unsigned>& channels, bool lockSampleRate, QString* error);
    /// Closes the recorder's file, writes the tape's metadata into it (which renames it after its
    /// date and title) and reads it back. False when there is no file to finish.
    static bool finish(VORLExtendedAudioFileRecorder* recorder, Tape& tape);
};

} // namespace spindrel
