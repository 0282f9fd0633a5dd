#pragma once

#include "audio/VORLAudioStreamBasicDescription.h"

#include <QCoreApplication>
#include <QString>
#include <cstdint>
#include <memory>

namespace spindrel {

class VORLAudioDevice;

/// An .m4a file being written: AAC or Apple Lossless in an MPEG-4 container, 'mdat' before
/// 'moov', movie time scale equal to the sample rate. Until closeFile() the recording lives in a
/// locked, fragmented file under the in-progress name (RecordingRecovery), synced to the disk as
/// it grows; closeFile() turns it into the ordinary file `filename`. Input is interleaved float samples, one
/// per channel of the stream format, at the input rate (the recording device's); they are resampled to the
/// file's rate and encoded. Writing happens on one thread at a time (the recorder's encoder thread); the
/// object itself is not tied to a thread.
///
/// Room to finish the file is kept allocated beyond its end as it grows. When a write fails (the
/// disk is full, an I/O error), the file takes no more frames, and closing it makes a tape of what
/// is on the disk where it lies (MP4InPlaceFinisher); so does a close that finds no room for the
/// ordinary file beside the in-progress one.
class VORLExtendedAudioFile
{
    Q_DECLARE_TR_FUNCTIONS(VORLExtendedAudioFile)

public:
    /// Opens `filename` for writing. A stream format whose rate is 0 takes the device's rate.
    /// `bitrate` (bit/s) is used for AAC. Throws AudioException when the file cannot be made or
    /// the device's rate is unknown (no sound server).
    VORLExtendedAudioFile(const QString& filename, const VORLAudioStreamBasicDescription& streamDescription,
                          int bitrate, const VORLAudioDevice& audioDevice);
    /// The same, fed at a given input rate instead of a device's.
    VORLExtendedAudioFile(const QString& filename, const VORLAudioStreamBasicDescription& streamDescription,
                          int bitrate, double inputSampleRate);
    ~VORLExtendedAudioFile();

    VORLExtendedAudioFile(const VORLExtendedAudioFile&) = delete;
    VORLExtendedAudioFile& operator=(const VORLExtendedAudioFile&) = delete;

    /// Appends `frames` interleaved frames. False (and errorString()) when encoding or writing
    /// failed or the file is closed.
    bool writeFrames(const float* interleaved, size_t frames);

    /// Encodes what is pending and finishes the container; afterwards `filename` is a complete,
    /// ordinary file and the in-progress file is gone (it is kept when finishing fails, for the
    /// recovery to try again). Closing twice does nothing.
    void closeFile();

    bool isOpen() const;
    QString filename() const;
    /// The completed stream format the file is written in (its rate is the file's rate).
    VORLAudioStreamBasicDescription streamDescription() const;
    int bitrate() const;
    unsigned channelsPerFrame() const;
    double inputSampleRate() const;
    double sampleRate() const;
    /// Frames given to writeFrames so far, at the input rate.
    int64_t inputFramesWritten() const;
    /// Empty unless something failed.
    QString errorString() const;
    /// Why writing failed, for the user: names the folder, never the file. Empty while nothing failed.
    QString failureMessage() const;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace spindrel
