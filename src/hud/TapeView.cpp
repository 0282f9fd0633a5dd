#include "hud/TapeView.h"

#include "hud/DeckPainting.h"
#include "hud/TapeNotesEditor.h"
#include "tapes/TapeCassette.h"

#include <QEasingCurve>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <cmath>
#include <numbers>

namespace spindrel {

namespace {

// The platform's ease-in-ease-out: a cubic Bézier through (0.42, 0) and (0.58, 1).
QEasingCurve easeInEaseOut()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(0.42, 0.0), QPointF(0.58, 1.0), QPointF(1.0, 1.0));
    return curve;
}

} // namespace

TapeView::TapeView(QWidget* parent) : QWidget(parent)
{
    setMouseTracking(true);
    CassetteValues values;
    values.doorShown = false; // the door stays in the deck while the cassette moves behind it
    mArtwork.setValues(values);
    valuesChanged();

    mMotion.setEasingCurve(easeInEaseOut());
    connect(&mMotion, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setTapeOffset(value.toDouble()); });
    connect(&mMotion, &QVariantAnimation::finished, this, [this] {
        update();
        Q_EMIT motionFinished();
    });
}

TapeView::~TapeView()
{
    closeEditors();
    unbindTape();
}

QSize TapeView::sizeHint() const
{
    const QSizeF natural = tapeSize() + QSizeF(2 * tapePadding, 2 * tapePadding);
    return (natural * 0.86).toSize();
}

// ---- the tape and the displayed values

void TapeView::setTape(const TapePtr& tape)
{
    if (tape == mTape)
        return;
    closeEditors();
    unbindTape();
    mTape = tape;
    if (mTape)
        bindTape();
    update();
}

void TapeView::bindTape()
{
    Tape* tape = mTape.get();
    setTitle(tape->title());
    setDate(tape->date());
    setDuration(tape->duration());
    setQuality(tape->quality());
    setTapeLetter(tape->tapeLetter());
    setNotes(tape->notes());
    setFilename(tape->filename());
    const auto packs = mFollowsProgress
                           ? CassetteValues::packDiametersForProgress(mPlayProgress)
                           : std::pair{CassetteValues().leftPackDiameter, CassetteValues().rightPackDiameter};
    setRightRotationMultiplier(packs.first / packs.second);

    mTapeConnections = {
        connect(tape, &Tape::titleChanged, this, [this, tape] { setTitle(tape->title()); }),
        connect(tape, &Tape::dateChanged, this, [this, tape] { setDate(tape->date()); }),
        connect(tape, &Tape::notesChanged, this, [this, tape] { setNotes(tape->notes()); }),
        connect(tape, &Tape::tapeLetterChanged, this, [this, tape] { setTapeLetter(tape->tapeLetter()); }),
        connect(tape, &Tape::filenameChanged, this, [this, tape] { setFilename(tape->filename()); }),
        connect(tape, &Tape::headersChanged, this,
                [this, tape] {
                    setDuration(tape->duration());
                    setQuality(tape->quality());
                }),
    };
}

void TapeView::unbindTape()
{
    for (const QMetaObject::Connection& connection : mTapeConnections)
        disconnect(connection);
    mTapeConnections.clear();
}

void TapeView::setTitle(const QString& title)
{
    if (title == mTitle)
        return;
    mTitle = title;
    valuesChanged();
    Q_EMIT titleChanged();
}

void TapeView::setDate(const QDateTime& date)
{
    if (date == mDate)
        return;
    mDate = date;
    valuesChanged();
    Q_EMIT dateChanged();
}

void TapeView::setDuration(double duration)
{
    if (duration == mDuration)
        return;
    mDuration = duration;
    valuesChanged();
    Q_EMIT durationChanged();
}

void TapeView::setQuality(const QString& quality)
{
    if (quality == mQuality)
        return;
    mQuality = quality;
    valuesChanged();
    Q_EMIT qualityChanged();
}

void TapeView::setTapeLetter(const TapeLetter& tapeLetter)
{
    // Letters have no equality: a new one always counts as a change, as it does for the tape.
    mTapeLetter = tapeLetter;
    valuesChanged();
    Q_EMIT tapeLetterChanged();
}

void TapeView::setNotes(const QString& notes)
{
    if (notes == mNotes)
        return;
    mNotes = notes;
    valuesChanged();
    Q_EMIT notesChanged();
}

void TapeView::setFilename(const QString& filename)
{
    if (filename == mFilename)
        return;
    mFilename = filename;
    Q_EMIT filenameChanged();
}

void TapeView::valuesChanged()
{
    CassetteValues values = mArtwork.values();
    values.title = mTitle;
    values.timeLine = mDate.isValid() ? TapeCassette::timeString(mDate, mDuration) : QString();
    values.quality = mQuality;
    values.letter = mTapeLetter.letter();
    const auto& scheme = mTapeLetter.colorScheme();
    values.letterBackgroundColor = scheme->backgroundColor();
    values.letterColor = scheme->letterColor();
    values.titleColor = scheme->titleColor();
    values.notes = TapeCassette::collapsedNotesString(mNotes);
    if (mFollowsProgress)
        std::tie(values.leftPackDiameter, values.rightPackDiameter) =
            CassetteValues::packDiametersForProgress(mPlayProgress);
    mArtwork.setValues(values);
    update();
}

// ---- reels

void TapeView::setRotationSpeed(double rotationSpeed)
{
    if (rotationSpeed == mRotationSpeed)
        return;
    mRotationSpeed = rotationSpeed;
    Q_EMIT rotationSpeedChanged();
}

void TapeView::startRotationAnimation(bool start)
{
    mSpinTimer.reset();
    if (!start)
        return;
    mSpinTimer = std::make_unique<QTimer>();
    mSpinTimer->setTimerType(Qt::PreciseTimer);
    mSpinTimer->setInterval(static_cast<int>(std::lround(CassetteArtwork::rotationIntervalSeconds * 1000.0)));
    connect(mSpinTimer.get(), &QTimer::timeout, this, &TapeView::rotationTimerFired);
    mSpinTimer->start();
}

void TapeView::rotationTimerFired()
{
    mSpoolRotation = CassetteArtwork::spoolRotationAfterStep(mSpoolRotation, mRotationSpeed);
    mArtwork.setSpoolRotation(mSpoolRotation);
    updateReels();
    Q_EMIT spoolRotationChanged();
}

void TapeView::setRightRotationMultiplier(double multiplier)
{
    mRightRotationMultiplier = multiplier;
    CassetteValues values = mArtwork.values();
    values.rightRotationMultiplier = multiplier;
    mArtwork.setValues(values);
    updateReels();
}

void TapeView::setPlayProgress(double progress)
{
    mFollowsProgress = true;
    if (progress == mPlayProgress)
        return;
    mPlayProgress = progress;
    // The packs are redrawn once they have grown or shrunk by half a pixel of the picture: the
    // position moves many times a second, and each new pack size redraws the whole cassette.
    const auto packs = CassetteValues::packDiametersForProgress(progress);
    const CassetteValues& shown = mArtwork.values();
    const double step = 0.5 / pictureRatio(devicePixelRatioF());
    if (std::abs(packs.first - shown.leftPackDiameter) >= step ||
        std::abs(packs.second - shown.rightPackDiameter) >= step) {
        CassetteValues values = shown;
        std::tie(values.leftPackDiameter, values.rightPackDiameter) = packs;
        mArtwork.setValues(values);
        update(mapFromCassette(CassetteGeometry::windowRect()).toAlignedRect().adjusted(-1, -1, 1, 1));
    }
    Q_EMIT playProgressChanged();
}

void TapeView::updateReels()
{
    for (const auto reel : {CassetteGeometry::Reel::Left, CassetteGeometry::Reel::Right})
        update(mapFromCassette(CassetteGeometry::reelRect(reel)).toAlignedRect().adjusted(-1, -1, 1, 1));
}

// ---- the slide into and out of the deck

void TapeView::setTapeOffset(double offset)
{
    if (offset == mTapeOffset)
        return;
    mTapeOffset = offset;
    placeEditors();
    update();
    Q_EMIT tapeOffsetChanged();
}

bool TapeView::isMoving() const
{
    return mMotion.state() == QAbstractAnimation::Running;
}

void TapeView::startMotion(const QList<QPair<double, QVariant>>& keyValues, int milliseconds)
{
    mMotion.stop();
    mMotion.setDuration(milliseconds);
    mMotion.setKeyValues(keyValues);
    mMotion.start();
}

void TapeView::insertTape()
{
    const double ejected = tapeSize().height();
    startMotion({{0.0, ejected}, {1.0, 0.0}}, motionMilliseconds);
}

void TapeView::ejectTape()
{
    closeEditors();
    // From wherever the cassette is now, so an eject during an insert does not jump.
    const double ejected = tapeSize().height();
    startMotion({{0.0, mTapeOffset}, {1.0, ejected}}, motionMilliseconds);
}

void TapeView::playFullAnimation()
{
    const double ejected = tapeSize().height();
    startMotion({{0.0, 0.0}, {0.5, ejected}, {1.0, 0.0}}, fullMotionMilliseconds);
}

// ---- geometry

double TapeView::cassetteScale() const
{
    const QSizeF natural = tapeSize() + QSizeF(2 * tapePadding, 2 * tapePadding);
    return std::min(width() / natural.width(), height() / natural.height());
}

QRectF TapeView::cassetteRect() const
{
    const double scale = cassetteScale();
    const QSizeF size = tapeSize() * scale;
    // On whole pixels, so the cached picture is copied without resampling.
    const qreal dpr = devicePixelRatioF();
    const QPointF origin(std::round((width() - size.width()) / 2.0 * dpr) / dpr,
                         std::round((height() - size.height()) / 2.0 * dpr) / dpr);
    return {origin, size};
}

QPointF TapeView::mapToCassette(const QPointF& viewPoint) const
{
    const QRectF cassette = cassetteRect();
    const double scale = cassetteScale();
    return (viewPoint - cassette.topLeft()) / scale + QPointF(0.0, mTapeOffset);
}

QRectF TapeView::mapFromCassette(const QRectF& rect) const
{
    const QRectF cassette = cassetteRect();
    const double scale = cassetteScale();
    return {cassette.topLeft() + (rect.topLeft() - QPointF(0.0, mTapeOffset)) * scale, rect.size() * scale};
}

bool TapeView::showsCassette() const
{
    return mTape != nullptr || isMoving();
}

// ---- drawing

void TapeView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    // The painter's device, not the widget's screen: render() may draw into a denser image.
    const qreal devicePixelRatio = painter.device()->devicePixelRatioF();
    const QRectF cassette = cassetteRect();
    mWell.paint(painter, event->rect(), size(), devicePixelRatio,
                [this, cassette](QPainter& well) { paintWell(well, cassette); });
    // On screen the hubs turn thirty times a second; drawing them anew each time was a quarter of
    // the deck's work while recording.
    paintCassette(painter, devicePixelRatio, CassetteArtwork::Hubs::Copied);
}

QImage TapeView::thumbnail() const
{
    return thumbnail(devicePixelRatioF());
}

QImage TapeView::thumbnail(qreal devicePixelRatio) const
{
    const QSize pixels = (QSizeF(size()) * devicePixelRatio).toSize();
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintContents(painter, devicePixelRatio);
    return image;
}

QImage TapeView::dragImage() const
{
    const QImage image = thumbnail();
    const qreal dpr = image.devicePixelRatio();
    QImage scaled = image.scaledToWidth(static_cast<int>(std::lround(128.0 * dpr)), Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(dpr);
    return scaled;
}

const QImage& TapeView::doorImage(qreal pictureRatio) const
{
    const QSize pixels(static_cast<int>(std::ceil(tapeSize().width() * pictureRatio)),
                       static_cast<int>(std::ceil(tapeSize().height() * pictureRatio)));
    if (mDoorImage.size() != pixels) {
        // Scaled by hand rather than by a pixel ratio, which painters do not honour below one.
        mDoorImage = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        mDoorImage.fill(Qt::transparent);
        QPainter painter(&mDoorImage);
        painter.scale(pictureRatio, pictureRatio);
        mArtwork.paintDoor(painter);
    }
    return mDoorImage;
}

double TapeView::pictureRatio(qreal devicePixelRatio) const
{
    // The pictures are made at the device's pixel density so that they are copied rather than
    // resampled; below one pixel per cassette unit they are made at one and scaled down.
    return std::max(1.0, devicePixelRatio * cassetteScale());
}

void TapeView::paintWell(QPainter& painter, const QRectF& cassette) const
{
    DeckPainting::drawRecess(painter, cassette.adjusted(-2.0, -2.0, 2.0, 2.0), 14.0 * cassetteScale(),
                             QColor(14, 15, 17));
    // The two drive spindles the cassette's hubs sit on.
    const double scale = cassetteScale();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    for (const auto reel : {CassetteGeometry::Reel::Left, CassetteGeometry::Reel::Right}) {
        const QPointF center = cassette.topLeft() + CassetteGeometry::spoolCenter(reel) * scale;
        QRadialGradient metal(center - QPointF(3.0, 3.0) * scale, 14.0 * scale);
        metal.setColorAt(0.0, QColor(190, 192, 196));
        metal.setColorAt(1.0, QColor(70, 72, 76));
        painter.setPen(QPen(QColor(0, 0, 0, 180), 1.0));
        painter.setBrush(metal);
        painter.drawEllipse(center, 9.0 * scale, 9.0 * scale);
        for (int tooth = 0; tooth < 6; ++tooth) {
            const double angle = tooth * std::numbers::pi / 3.0;
            const QPointF tip = center + QPointF(std::cos(angle), std::sin(angle)) * 11.0 * scale;
            painter.setPen(QPen(QColor(120, 122, 126), 2.0 * scale, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(center, tip);
        }
    }
    painter.restore();
}

void TapeView::paintShareButton(QPainter& painter) const
{
    const QRectF button = shareButtonRect();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QRadialGradient face(button.center() - QPointF(0, 4.0), button.width() * 0.7);
    face.setColorAt(0.0, mSharePressed ? QColor(70, 72, 78) : QColor(110, 113, 120));
    face.setColorAt(1.0, mSharePressed ? QColor(30, 31, 34) : QColor(46, 48, 52));
    painter.setPen(QPen(QColor(0, 0, 0, 200), 1.0));
    painter.setBrush(face);
    painter.drawEllipse(button);
    // A tray with an arrow leaving it.
    const QPointF c = button.center();
    QPainterPath glyph;
    glyph.moveTo(c + QPointF(-5.5, -1.0));
    glyph.lineTo(c + QPointF(-5.5, 5.5));
    glyph.lineTo(c + QPointF(5.5, 5.5));
    glyph.lineTo(c + QPointF(5.5, -1.0));
    glyph.moveTo(c + QPointF(0, 2.5));
    glyph.lineTo(c + QPointF(0, -6.5));
    glyph.moveTo(c + QPointF(-3.5, -3.0));
    glyph.lineTo(c + QPointF(0, -6.5));
    glyph.lineTo(c + QPointF(3.5, -3.0));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 160), 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(glyph.translated(0, 0.8));
    painter.setPen(QPen(QColor(226, 228, 232), 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(glyph);
    painter.restore();
}

void TapeView::paintContents(QPainter& painter, qreal devicePixelRatio) const
{
    paintWell(painter, cassetteRect());
    paintCassette(painter, devicePixelRatio, CassetteArtwork::Hubs::Drawn);
}

void TapeView::paintCassette(QPainter& painter, qreal devicePixelRatio, CassetteArtwork::Hubs hubs) const
{
    const QRectF cassette = cassetteRect();
    const double scale = cassetteScale();
    const qreal pictureRatio = this->pictureRatio(devicePixelRatio);
    if (showsCassette()) {
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.setClipRect(cassette.adjusted(-2.0, -2.0, 2.0, 2.0));
        const QImage picture = mArtwork.thumbnail(pictureRatio, hubs);
        const QRectF shown = cassette.translated(0.0, -mTapeOffset * scale);
        painter.drawImage(QRectF(shown.topLeft(), QSizeF(picture.size()) * scale / pictureRatio), picture,
                          QRectF(picture.rect()));
        painter.translate(shown.topLeft());
        painter.scale(scale, scale);
        paintShareButton(painter);
        painter.restore();
    }
    const QImage& door = doorImage(pictureRatio);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(cassette.topLeft(), QSizeF(door.size()) * scale / pictureRatio), door,
                      QRectF(door.rect()));
    painter.restore();
}

void TapeView::resizeEvent(QResizeEvent*)
{
    mDoorImage = QImage();
    mWell.invalidate();
    placeEditors();
}

} // namespace spindrel
