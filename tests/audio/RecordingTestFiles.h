#pragma once

#include <QString>
#include <QTemporaryDir>
#include <memory>
#include <sys/resource.h>

namespace spindrel {
class VORLExtendedAudioFile;
}

namespace spindrel::test {

/// A recording file in a quality preset ("LQ", "MQ", "HQ"), stereo, fed at 44.1 kHz.
std::unique_ptr<VORLExtendedAudioFile> openRecording(const QString& path, const char* quality);

/// Feeds `seconds` of a 440/660 Hz tone in the pieces a capture would give.
void feedTone(VORLExtendedAudioFile& file, double seconds);

/// What a process killed after `seconds` of recording leaves on the disk: the in-progress file
/// as it is at that moment, named "<name>.recording" in `dir`, no longer locked by anybody.
QString leaveCrashedRecording(const QTemporaryDir& dir, const QString& name, const char* quality,
                              double seconds);

/// While it lives, files of this process may not grow beyond `bytes`: the kernel refuses the write
/// (EFBIG) as a full disk refuses it.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit mOld{};
    void (*mOldHandler)(int) = nullptr;
};

} // namespace spindrel::test
