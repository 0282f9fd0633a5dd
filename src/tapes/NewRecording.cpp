#include "tapes/NewRecording.h"

#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"
#include "foundation/UUID.h"

#include <QFileInfo>

namespace spindrel {

QString NewRecording::newTitle()
{
    return tr("Untitled");
}

QString NewRecording::newFilename()
{
    return stringWithUUID() + QStringLiteral(".m4a");
}

TapePtr NewRecording::tapeForRecording(const QString& folder, const QString& title, const QString& author,
                                       const QString& quality)
{
    const QString path = folder + QLatin1Char('/') + newFilename();
    auto tape = std::make_shared<Tape>(path);
    tape->setTitle(title);
    tape->setNotes(QString(QLatin1String("")));
    tape->setDate(QDateTime::currentDateTime());
    tape->setArtist(author);
    tape->setTapeLetter(TapeLetter::tapeLetter(QStringLiteral("A")));
    tape->setQuality(quality);
    return tape;
}

std::unique_ptr<VORLExtendedAudioFileRecorder>
NewRecording::recorderForTape(const Tape& tape, const QString& quality, bool stereo,
                              const VORLAudioDevice& device, const QList<unsigned>& channels,
                              bool lockSampleRate, QString* error)
{
    const std::shared_ptr<VORLExtendedAudioFile> file = RecordingPresets::audioFileForRecordingWithFilename(
        tape.filename(), quality, stereo, device, lockSampleRate, error);
    if (!file)
        return nullptr;
    return std::make_unique<VORLExtendedAudioFileRecorder>(file, device, channels);
}

bool NewRecording::finish(VORLExtendedAudioFileRecorder* recorder, Tape& tape)
{
    if (recorder) {
        if (const auto file = recorder->recordFile())
            file->closeFile();
    }
    if (!QFileInfo::exists(tape.filename()))
        return false;
    tape.commitAttributes();
    tape.loadAttributes();
    return true;
}

} // namespace spindrel
