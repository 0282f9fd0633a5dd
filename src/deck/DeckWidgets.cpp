// PLACEHOLDERS: see DeckWidgets.h.
#include "deck/DeckWidgets.h"

#include "tapes/TapeCassette.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

namespace spindrel {

HUDView::HUDView(QWidget* parent) : QWidget(parent)
{
    setMinimumSize(sizeHint());
}

void HUDView::setQuality(const QString& quality)
{
    if (quality == mQuality ||
        (quality != QLatin1String("HQ") && quality != QLatin1String("MQ") && quality != QLatin1String("LQ")))
        return;
    mQuality = quality;
    update();
    Q_EMIT qualityChanged();
}

void HUDView::setStereo(bool stereo)
{
    if (stereo == mStereo)
        return;
    mStereo = stereo;
    update();
    Q_EMIT stereoChanged();
}

void HUDView::setLevels(double left, double right)
{
    mLevels = {left, right};
    update();
}

void HUDView::setVolume(double volume)
{
    if (volume == mVolume)
        return;
    mVolume = volume;
    update();
    Q_EMIT volumeChanged();
}

void HUDView::setTime(double time)
{
    mTime = time;
    update();
}

void HUDView::setPosition(double position)
{
    if (position == mPosition)
        return;
    mPosition = position;
    update();
    Q_EMIT positionChanged();
}

void HUDView::setMaxTime(double maxTime)
{
    mMaxTime = maxTime;
    update();
}

void HUDView::setRecordingMode(bool recordingMode)
{
    mRecordingMode = recordingMode;
    update();
}

void HUDView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(20, 30, 24));
    painter.setPen(mRecordingMode ? QColor(255, 80, 60) : QColor(120, 255, 160));
    const int seconds = int(mTime / 1000);
    painter.drawText(rect().adjusted(8, 4, -8, -4), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("PLACEHOLDER HUD  %1  %2  %3:%4  L %5 R %6")
                         .arg(mQuality, mStereo ? QStringLiteral("STEREO") : QStringLiteral("MONO"))
                         .arg(seconds / 60)
                         .arg(seconds % 60, 2, 10, QLatin1Char('0'))
                         .arg(int(mLevels.first))
                         .arg(int(mLevels.second)));
}

SegmentedTapeButtonView::SegmentedTapeButtonView(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(sizeHint());
}

void SegmentedTapeButtonView::setSelectedSegment(int segment)
{
    mSelected.insert(segment);
    update();
}

void SegmentedTapeButtonView::clearSelectedSegment(int segment)
{
    mSelected.remove(segment);
    update();
}

void SegmentedTapeButtonView::clearSelectedSegments()
{
    mSelected.clear();
    update();
}

QRectF SegmentedTapeButtonView::rectForSegment(int segment) const
{
    const qreal width = qreal(this->width()) / std::max(mSegments, 1);
    return {segment * width, 0, width, qreal(height())};
}

void SegmentedTapeButtonView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    for (int segment = 0; segment < mSegments; ++segment) {
        const QRectF box = rectForSegment(segment).adjusted(1, 1, -1, -1);
        painter.fillRect(box, mSelected.contains(segment) ? QColor(90, 90, 90) : QColor(170, 170, 170));
        painter.drawText(box, Qt::AlignCenter, mLabels.value(segment));
    }
}

void SegmentedTapeButtonView::mousePressEvent(QMouseEvent* event)
{
    for (int segment = 0; segment < mSegments; ++segment) {
        if (rectForSegment(segment).contains(event->position()))
            Q_EMIT segmentAction(segment);
    }
}

void SegmentedTapeButtonView::keyPressEvent(QKeyEvent* event)
{
    static const QMap<int, int> keys{{Qt::Key_Z, 0}, {Qt::Key_X, 1}, {Qt::Key_C, 2},
                                     {Qt::Key_V, 3}, {Qt::Key_B, 4}, {Qt::Key_N, 5}};
    if (event->isAutoRepeat() || !keys.contains(event->key())) {
        QWidget::keyPressEvent(event);
        return;
    }
    Q_EMIT segmentAction(keys.value(event->key()));
}

TapeView::TapeView(QWidget* parent) : QWidget(parent)
{
    setMinimumSize(sizeHint());
}

void TapeView::setTape(const TapePtr& tape)
{
    mTape = tape;
    CassetteValues values = tape ? TapeCassette::valuesForTape(*tape) : CassetteValues();
    values.spoolRotation = mArtwork.spoolRotation();
    mArtwork.setValues(values);
    update();
}

void TapeView::startRotationAnimation(bool start)
{
    delete mSpinTimer;
    mSpinTimer = nullptr;
    if (!start)
        return;
    mSpinTimer = new QTimer(this);
    connect(mSpinTimer, &QTimer::timeout, this, [this] {
        mArtwork.rotationStep(mRotationSpeed);
        update();
    });
    mSpinTimer->start(33);
}

void TapeView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(40, 40, 44));
    if (!mTape)
        return;
    const QSizeF size = CassetteArtwork::tapeSize();
    const qreal scale = std::min(width() / size.width(), height() / size.height());
    painter.scale(scale, scale);
    mArtwork.paint(painter);
}

QImage DeckWidgets::buttonImage(int)
{
    return {};
}

QVariantMap DeckWidgets::keyboardTransportMap()
{
    return {};
}

} // namespace spindrel
