#include "hud/HUDView.h"

#include "hud/DeckPainting.h"
#include "hud/HUDHighlightView.h"
#include "hud/PositionView.h"
#include "hud/QualityView.h"
#include "hud/StereoView.h"
#include "hud/TimeView.h"
#include "hud/VolumeView.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

namespace spindrel {

namespace {

constexpr qreal bezel = 6.0;

} // namespace

// A cool blue phosphor for playback, a warm red one for what concerns recording.
QColor HUDView::backgroundColor()
{
    return {9, 17, 20};
}

QColor HUDView::inactiveColor()
{
    return {86, 206, 255, 34};
}

QColor HUDView::activeColor()
{
    return {120, 222, 255};
}

QColor HUDView::inactiveRecordColor()
{
    return {255, 96, 64, 40};
}

QColor HUDView::activeRecordColor()
{
    return {255, 104, 72};
}

HUDView::HUDView(QWidget* parent)
    : QWidget(parent), mQualityView(new QualityView(this)), mStereoView(new StereoView(this)),
      mLevelView(new LevelView(this)), mVolumeView(new VolumeView(this)), mTimeView(new TimeView(this)),
      mPositionView(new PositionView(this)), mHighlightView(new HUDHighlightView(this))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    mHighlightView->raise();

    connect(mQualityView, &QualityView::qualityChanged, this, &HUDView::qualityChanged);
    connect(mStereoView, &StereoView::stereoChanged, this, &HUDView::stereoChanged);
    // The meter shows the left level on both rows when recording mono.
    connect(mStereoView, &StereoView::stereoChanged, this,
            [this] { mLevelView->setStereo(mStereoView->stereo()); });
    connect(mLevelView, &LevelView::levelsChanged, this, &HUDView::levelsChanged);
    connect(mVolumeView, &VolumeView::volumeChanged, this, &HUDView::volumeChanged);
    connect(mTimeView, &TimeView::timeChanged, this, &HUDView::timeChanged);
    connect(mPositionView, &PositionView::timeChanged, this, &HUDView::positionChanged);
    connect(mPositionView, &PositionView::maxTimeChanged, this, &HUDView::maxTimeChanged);
    mLevelView->setStereo(mStereoView->stereo());
    layoutSubviews();
}

QString HUDView::quality() const
{
    return mQualityView->quality();
}

void HUDView::setQuality(const QString& quality)
{
    mQualityView->setQuality(quality);
}

bool HUDView::stereo() const
{
    return mStereoView->stereo();
}

void HUDView::setStereo(bool stereo)
{
    mStereoView->setStereo(stereo);
}

StereoLevels HUDView::levels() const
{
    return mLevelView->levels();
}

void HUDView::setLevels(const StereoLevels& levels)
{
    mLevelView->setLevels(levels);
}

double HUDView::volume() const
{
    return mVolumeView->volume();
}

void HUDView::setVolume(double volume)
{
    mVolumeView->setVolume(volume);
}

double HUDView::time() const
{
    return mTimeView->time();
}

void HUDView::setTime(double time)
{
    mTimeView->setTime(time);
}

double HUDView::position() const
{
    return mPositionView->time();
}

void HUDView::setPosition(double position)
{
    mPositionView->setTime(position);
}

double HUDView::maxTime() const
{
    return mPositionView->maxTime();
}

void HUDView::setMaxTime(double maxTime)
{
    mPositionView->setMaxTime(maxTime);
}

void HUDView::setRecordingMode(bool recordingMode)
{
    mQualityView->setRecordingMode(recordingMode);
    mStereoView->setRecordingMode(recordingMode);
    mPositionView->setRecordingMode(recordingMode);
    if (recordingMode == mRecordingMode)
        return;
    mRecordingMode = recordingMode;
    Q_EMIT recordingModeChanged();
}

void HUDView::setCanRecordStereo(std::function<bool()> canRecordStereo)
{
    mStereoView->setCanRecordStereo(std::move(canRecordStereo));
}

void HUDView::setMonoAlert(std::function<void()> alert)
{
    mStereoView->setMonoAlert(std::move(alert));
}

QRectF HUDView::screenRect() const
{
    return QRectF(rect()).adjusted(bezel, bezel, -bezel, -bezel);
}

void HUDView::resizeEvent(QResizeEvent*)
{
    layoutSubviews();
}

void HUDView::layoutSubviews()
{
    const QRectF screen = screenRect();
    const auto place = [&screen](QWidget* view, qreal x, qreal y) {
        view->setGeometry(QRectF(screen.topLeft() + QPointF(x, y), QSizeF(view->sizeHint())).toRect());
    };
    // Settings on the left, time and position on the right.
    place(mQualityView, 10, 9);
    place(mStereoView, 104, 9);
    place(mLevelView, 10, 32);
    place(mVolumeView, 116, 31);
    place(mTimeView, screen.width() - 150, 3);
    place(mPositionView, screen.width() - 148, 34);
    mHighlightView->setGeometry(screen.toRect());
}

void HUDView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    mPanel.paint(painter, event->rect(), size(), devicePixelRatioF(),
                 [this](QPainter& panel) { paintPanel(panel); });

    // The control the keyboard drives is ringed in the display's own light.
    painter.setRenderHint(QPainter::Antialiasing);
    for (const QWidget* view : {static_cast<QWidget*>(mQualityView), static_cast<QWidget*>(mStereoView),
                                static_cast<QWidget*>(mVolumeView), static_cast<QWidget*>(mPositionView)}) {
        if (view->hasFocus())
            DeckPainting::drawFocusRing(painter, QRectF(view->geometry()).adjusted(-3.0, -3.0, 3.0, 3.0), 3.0,
                                        activeColor());
    }
}

void HUDView::paintPanel(QPainter& painter) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outer = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);

    // The bezel: a dark frame, bevelled, around a recessed screen.
    QLinearGradient frame(outer.topLeft(), outer.bottomLeft());
    frame.setColorAt(0.0, QColor(62, 64, 68));
    frame.setColorAt(1.0, QColor(24, 25, 28));
    QPainterPath outline;
    outline.addRoundedRect(outer, 8.0, 8.0);
    painter.fillPath(outline, frame);
    painter.setPen(QPen(QColor(255, 255, 255, 40), 1.0));
    painter.drawRoundedRect(outer.adjusted(1.0, 1.0, -1.0, -1.0), 7.0, 7.0);
    painter.setPen(QPen(QColor(0, 0, 0, 200), 1.0));
    painter.drawRoundedRect(outer, 8.0, 8.0);

    const QRectF screen = screenRect();
    DeckPainting::drawRecess(painter, screen.adjusted(-1.0, -1.0, 1.0, 1.0), 5.0, QColor(0, 0, 0));
    QPainterPath glass;
    glass.addRoundedRect(screen, 4.0, 4.0);
    QRadialGradient glow(screen.center(), screen.width() * 0.6);
    glow.setColorAt(0.0, backgroundColor().lighter(150));
    glow.setColorAt(1.0, backgroundColor());
    painter.fillPath(glass, glow);

    // The faint horizontal lines of the display's mesh.
    painter.save();
    painter.setClipPath(glass);
    painter.setPen(QPen(QColor(255, 255, 255, 7), 1.0));
    for (qreal y = screen.top() + 1.5; y < screen.bottom(); y += 2.0)
        painter.drawLine(QPointF(screen.left(), y), QPointF(screen.right(), y));
    painter.restore();
}

} // namespace spindrel
