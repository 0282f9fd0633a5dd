#pragma once

#include "foundation/Error.h"
#include "sharing/MovieWriter.h"
#include "tapes/CassetteArtwork.h"
#include "tapes/Tape.h"

#include <QImage>
#include <QObject>
#include <QPointer>
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace spindrel {

class TapeAudioReader;

/// Renders a tape into a QuickTime movie: the cassette at scale 2.0 with turning reels, centred
/// on a black 1280x720 H.264 picture at 24 frames a second, and the tape's audio as AAC.
///
/// The export runs on a worker thread of its own; the progress and completion blocks are called
/// there (the first progress call, 0.0, on the caller's), so callers that touch the interface
/// hop to the main thread themselves. One movie object makes one export.
class TapeMovie
{
public:
    /// Called with the fraction done; false stops adding frames (the movie is then finished with
    /// the video cut short and all of the audio).
    using ProgressUpdateBlock = std::function<bool(double progress)>;
    /// Called exactly once: nothing on success, else the reason.
    using CompletionBlock = std::function<void(const std::optional<Error>& error)>;

    static constexpr int frameWidth = 1280;
    static constexpr int frameHeight = 720;
    static constexpr int framesPerSecond = 24;
    static constexpr int maxKeyFrameInterval = 1000;
    static constexpr qreal offscreenScale = 2.0;
    /// The reels turn as at play speed: one rotation step per frame.
    static constexpr double reelSpeed = 1.0;
    /// Frames until the hubs show the same angle again: a step at play speed turns them 2 degrees.
    static constexpr int stepsPerTurn = 180;
    static_assert(stepsPerTurn * 2.0 * reelSpeed == 360.0);

    explicit TapeMovie(TapePtr tape);
    /// Stops a running export (reported as a failed write) and waits for its thread.
    ~TapeMovie();

    TapeMovie(const TapeMovie&) = delete;
    TapeMovie& operator=(const TapeMovie&) = delete;

    const TapePtr& tape() const { return mTape; }
    /// The movie file: a fresh name in the temporary folder unless set before the export starts.
    const QString& filename() const { return mFilename; }
    void setFilename(const QString& filename) { mFilename = filename; }
    /// Any object the caller wants to keep with the export; the export itself never uses it.
    QObject* delegate() const { return mDelegate; }
    void setDelegate(QObject* delegate) { mDelegate = delegate; }
    void setProgressUpdateBlock(ProgressUpdateBlock block) { mProgressUpdateBlock = std::move(block); }
    const ProgressUpdateBlock& progressUpdateBlock() const { return mProgressUpdateBlock; }

    /// Starts the export and returns at once. Set-up failures reach the block before it returns.
    void performMovieExportWithCompletionBlock(CompletionBlock completionBlock);
    /// Blocks until the export thread has ended (not to be called from the blocks).
    void waitUntilFinished();
    /// Deletes the movie file; errors are ignored.
    void disposeMovieFile();

    /// The export's frame count for a tape of `durationSeconds`: whole frames only.
    static int64_t frameCountForDuration(double durationSeconds);
    static QString temporaryMovieURLWithExtension(const QString& extension);
    /// The domain of the errors the completion block receives.
    static QString errorDomain();
    /// A `size` picture in QImage::Format_RGB32: black, with `image` drawn at its own pixel size
    /// in the middle (cropped by the edges when larger).
    static QImage newPixelBufferWithSize(const QSize& size, const QImage& image);
    /// Where an image of `imageSize` sits when centred in a picture of `size`.
    static QPoint pictureOffset(const QSize& size, const QSize& imageSize);

    // Steps of the export, public so that their bookkeeping can be checked; they run on the
    // export thread.
    void audioWriterFinished();
    void videoWriterFinished();
    void closeAssetWriterFile();
    bool videoFinished() const { return mVideoFinished; }
    bool audioFinished() const { return mAudioFinished; }

private:
    static Error movieError(const QString& message);
    void complete(const std::optional<Error>& error);
    bool reportProgress(double progress);
    void writerStatusChanged(MovieWriter::Status status);
    void runQueue();
    using ReelPictures = std::array<QImage, 2>; // the left and the right hub, as drawn
    void videoBlock();
    const ReelPictures& reelPicturesForFrame(int64_t frame);
    void appendFrame(const ReelPictures& pictures);
    void audioBlock();

    TapePtr mTape;
    QString mFilename;
    QPointer<QObject> mDelegate;
    ProgressUpdateBlock mProgressUpdateBlock;
    CompletionBlock mCompletionBlock;
    bool mCompletionCalled = false;

    std::unique_ptr<TapeAudioReader> mAudioAssetReader;
    std::unique_ptr<MovieWriter> mAssetWriter;
    // Stands in for the off-screen cassette view: the same picture, drawn on the export thread.
    std::unique_ptr<CassetteArtwork> mTapeView;
    QImage mPixelBuffer;
    std::vector<ReelPictures> mReelPictures; // one turn, frame by frame

    int64_t mFrameCount = 0;
    int64_t mFrameIndex = 0;
    bool mContinue = true;
    bool mVideoFinished = false;
    bool mAudioFinished = false;
    bool mAudioStarted = false;
    std::atomic<bool> mAbort = false;
    std::thread mQueue;
};

} // namespace spindrel
