#include "sharing/TapeMovie.h"

#include "foundation/Assertion.h"
#include "foundation/Log.h"
#include "foundation/UUID.h"
#include "sharing/TapeAudioReader.h"
#include "tapes/TapeCassette.h"

#include <QDir>
#include <QFile>
#include <cmath>
#include <cstring>

namespace spindrel {

namespace {

constexpr std::array<CassetteGeometry::Reel, 2> reels = {CassetteGeometry::Reel::Left,
                                                         CassetteGeometry::Reel::Right};

} // namespace

TapeMovie::TapeMovie(TapePtr tape)
    : mTape(std::move(tape)), mFilename(temporaryMovieURLWithExtension(QStringLiteral("mov")))
{
}

TapeMovie::~TapeMovie()
{
    mAbort = true;
    waitUntilFinished();
    // An export whose audio never started has no thread to close its file.
    if (mAssetWriter && mAssetWriter->status() == MovieWriter::Status::Writing)
        mAssetWriter->cancelWriting();
}

QString TapeMovie::temporaryMovieURLWithExtension(const QString& extension)
{
    return QDir(QDir::tempPath()).filePath(QStringLiteral("%1.%2").arg(stringWithUUID(), extension));
}

QString TapeMovie::errorDomain()
{
    return QStringLiteral("org.spindrel.Spindrel.TapeMovie");
}

Error TapeMovie::movieError(const QString& message)
{
    return Error(errorDomain(), -1, {{Error::DescriptionKey, message}});
}

int64_t TapeMovie::frameCountForDuration(double durationSeconds)
{
    const double frames = std::floor(durationSeconds * double(framesPerSecond));
    return frames > 0.0 ? int64_t(frames) : 0;
}

QPoint TapeMovie::pictureOffset(const QSize& size, const QSize& imageSize)
{
    return QPoint(int(std::floor((size.width() - imageSize.width()) * 0.5)),
                  int(std::floor((size.height() - imageSize.height()) * 0.5)));
}

QImage TapeMovie::newPixelBufferWithSize(const QSize& size, const QImage& image)
{
    QImage buffer(size, QImage::Format_RGB32);
    SP_ASSERT(!buffer.isNull(), "status == kCVReturnSuccess && pxbuffer != NULL");
    buffer.fill(Qt::black);
    const QImage source =
        image.format() == QImage::Format_ARGB32_Premultiplied || image.format() == QImage::Format_RGB32
            ? image
            : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QPoint offset = pictureOffset(size, source.size());
    const int left = offset.x();
    const int top = offset.y();
    const QRect target = QRect(QPoint(left, top), source.size()).intersected(buffer.rect());
    // Premultiplied colour over black is the colour itself, so rows are copied, not blended.
    for (int y = target.top(); y <= target.bottom(); ++y) {
        const auto* from =
            reinterpret_cast<const quint32*>(source.constScanLine(y - top)) + (target.left() - left);
        auto* to = reinterpret_cast<quint32*>(buffer.scanLine(y)) + target.left();
        for (int x = 0; x < target.width(); ++x)
            to[x] = from[x] | 0xff000000u;
    }
    return buffer;
}

bool TapeMovie::reportProgress(double progress)
{
    return mProgressUpdateBlock ? mProgressUpdateBlock(progress) : true;
}

void TapeMovie::complete(const std::optional<Error>& error)
{
    if (mCompletionCalled)
        return;
    mCompletionCalled = true;
    if (mCompletionBlock)
        mCompletionBlock(error);
}

void TapeMovie::performMovieExportWithCompletionBlock(CompletionBlock completionBlock)
{
    if (mAssetWriter) {
        if (completionBlock)
            completionBlock(movieError(QStringLiteral("Tape movie export already in progress.")));
        return;
    }
    mCompletionBlock = std::move(completionBlock);

    std::optional<Error> error;
    mAudioAssetReader = TapeAudioReader::create(mTape->filename(), error);
    if (!mAudioAssetReader) {
        logLine(QStringLiteral("Could not create tape asset reader."));
        complete(error);
        return;
    }
    mAssetWriter = MovieWriter::create(mFilename, error);
    if (!mAssetWriter) {
        complete(error);
        return;
    }
    mAssetWriter->setStatusObserver([this](MovieWriter::Status status) { writerStatusChanged(status); });

    MovieWriter::VideoSettings video;
    video.width = frameWidth;
    video.height = frameHeight;
    video.framesPerSecond = framesPerSecond;
    video.maxKeyFrameInterval = maxKeyFrameInterval;
    MovieWriter::AudioSettings audio;
    SP_VERIFY_OR_DEBUG_ASSERT(mAssetWriter->canAddVideoInput(video) && mAssetWriter->canAddAudioInput(audio),
                              "[self.assetWriter canAddInput:self.videoWriterInput]")
    {
        complete(movieError(QStringLiteral("Error writing movie asset.")));
        return;
    }
    if (!mAssetWriter->addVideoInput(video) ||
        !mAssetWriter->addAudioInput(audio, mAudioAssetReader->channels())) {
        complete(movieError(QStringLiteral("Error writing movie asset.")));
        return;
    }

    reportProgress(0.0);
    if (!mAssetWriter->startWriting())
        return; // the status observer has reported the failure
    mAssetWriter->startSessionAtSourceTime(0);

    // The still parts of the cassette (text and all) are drawn here, on the caller's thread;
    // the export thread then only turns the hubs.
    mTapeView = std::make_unique<CassetteArtwork>(TapeCassette::valuesForTape(*mTape));
    mTapeView->thumbnail(offscreenScale);

    mFrameCount = frameCountForDuration(mTape->duration());
    mFrameIndex = 0;
    mContinue = true;

    if (!mAudioAssetReader->startReading()) {
        complete(movieError(QStringLiteral("Audio asset reader doesn't want to start reading!")));
        return;
    }
    mAudioStarted = true;
    mQueue = std::thread([this] { runQueue(); });
}

void TapeMovie::waitUntilFinished()
{
    if (mQueue.joinable() && mQueue.get_id() != std::this_thread::get_id())
        mQueue.join();
}

void TapeMovie::runQueue()
{
    using Input = MovieWriter::Input;
    while (mAssetWriter->status() == MovieWriter::Status::Writing) {
        if (mAbort) {
            mAudioAssetReader->cancelReading();
            mAssetWriter->cancelWriting();
            break;
        }
        bool worked = false;
        if (!mVideoFinished && mAssetWriter->isReadyForMoreMediaData(Input::Video)) {
            videoBlock();
            worked = true;
        }
        if (!mAudioFinished && mAudioStarted && mAssetWriter->isReadyForMoreMediaData(Input::Audio)) {
            audioBlock();
            worked = true;
        }
        if (!worked)
            break;
    }
}

void TapeMovie::videoBlock()
{
    if (mFrameIndex < mFrameCount && mContinue) {
        mContinue = reportProgress(double(mFrameIndex) / double(mFrameCount));
        appendFrame(reelPicturesForFrame(mFrameIndex));
        ++mFrameIndex;
        return;
    }
    videoWriterFinished();
}

const TapeMovie::ReelPictures& TapeMovie::reelPicturesForFrame(int64_t frame)
{
    // The hubs come round to the same angle every turn, so one turn's worth is drawn and kept.
    const auto step = std::size_t(frame % stepsPerTurn);
    if (step < mReelPictures.size())
        return mReelPictures[step];
    mTapeView->rotationStep(reelSpeed);
    const QImage thumbnail = mTapeView->thumbnail(offscreenScale);
    if (mPixelBuffer.isNull())
        mPixelBuffer = newPixelBufferWithSize(QSize(frameWidth, frameHeight), thumbnail);
    ReelPictures pictures;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const QRect rect =
            CassetteArtwork::reelPixelRect(reels[i], offscreenScale).intersected(thumbnail.rect());
        pictures[i] = thumbnail.copy(rect);
    }
    mReelPictures.push_back(std::move(pictures));
    return mReelPictures.back();
}

void TapeMovie::appendFrame(const ReelPictures& pictures)
{
    // A pool of one buffer: only the hubs differ from the frame before, so only they are copied.
    const QSize size(frameWidth, frameHeight);
    const QSize pictureSize = (CassetteArtwork::tapeSize() * offscreenScale).toSize();
    const QPoint offset = pictureOffset(size, pictureSize);
    std::vector<QRect> changed;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const QImage& picture = pictures[i];
        const QPoint origin = CassetteArtwork::reelPixelRect(reels[i], offscreenScale).topLeft() + offset;
        const QRect target = QRect(origin, picture.size()).intersected(mPixelBuffer.rect());
        for (int y = target.top(); y <= target.bottom(); ++y) {
            const auto* from = reinterpret_cast<const quint32*>(picture.constScanLine(y - origin.y())) +
                               (target.left() - origin.x());
            auto* to = reinterpret_cast<quint32*>(mPixelBuffer.scanLine(y)) + target.left();
            for (int x = 0; x < target.width(); ++x)
                to[x] = from[x] | 0xff000000u;
        }
        changed.push_back(target);
    }
    mAssetWriter->appendPixelBuffer(mPixelBuffer, mFrameIndex,
                                    mFrameIndex == 0 ? std::vector<QRect>{} : changed);
}

void TapeMovie::audioBlock()
{
    do {
        if (mAudioAssetReader->status() != TapeAudioReader::Status::Reading) {
            audioWriterFinished();
            return;
        }
        std::optional<SampleBuffer> buffer = mAudioAssetReader->copyNextSampleBuffer();
        if (!buffer) {
            audioWriterFinished();
            return;
        }
        mAssetWriter->appendSampleBuffer(*buffer);
    } while (mAssetWriter->isReadyForMoreMediaData(MovieWriter::Input::Audio));
}

void TapeMovie::audioWriterFinished()
{
    if (mAudioFinished) {
        logLine(QStringLiteral("called audioWriterFinished after video already finished!"));
        return;
    }
    if (mAssetWriter)
        mAssetWriter->markAsFinished(MovieWriter::Input::Audio);
    if (mVideoFinished)
        closeAssetWriterFile();
    mAudioFinished = true;
}

void TapeMovie::videoWriterFinished()
{
    if (mVideoFinished) {
        logLine(QStringLiteral("called videoWriterFinished after video already finished!"));
        return;
    }
    if (mAssetWriter)
        mAssetWriter->markAsFinished(MovieWriter::Input::Video);
    if (mAudioFinished)
        closeAssetWriterFile();
    mVideoFinished = true;
}

void TapeMovie::closeAssetWriterFile()
{
    if (mAssetWriter)
        mAssetWriter->finishWriting();
}

void TapeMovie::writerStatusChanged(MovieWriter::Status status)
{
    logLine(QStringLiteral("status changed -- %1").arg(long(status)));
    switch (status) {
    case MovieWriter::Status::Completed:
        complete(std::nullopt);
        reportProgress(1.0);
        break;
    case MovieWriter::Status::Failed:
    case MovieWriter::Status::Cancelled:
        complete(movieError(QStringLiteral("Error writing movie asset.")));
        break;
    default:
        break;
    }
}

void TapeMovie::disposeMovieFile()
{
    QFile::remove(mFilename);
}

} // namespace spindrel
