#include "hud/QualityView.h"

#include "foundation/Assertion.h"
#include "hud/HUDDrawing.h"
#include "hud/HUDView.h"
#include "tapes/TapeQuality.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

namespace spindrel {

QualityView::QualityView(QWidget* parent) : ClickableHUDSubview(parent)
{
    constexpr qreal boxWidth = 24.0;
    constexpr qreal pitch = 31.0;
    const QStringList& names = TapeQuality::qualityNames();
    for (int i = 0; i < names.size(); ++i)
        mLayers.push_back(
            {QStringLiteral("q%1").arg(i), names[i], QRectF(1.0 + i * pitch, 0.5, boxWidth, 15.0)});
}

QString QualityView::quality() const
{
    SP_VERIFY_OR_DEBUG_ASSERT(mSelectedLayer >= 0 && mSelectedLayer < static_cast<int>(mLayers.size()),
                              "selected quality beyond # of layers")
    {
        return mLayers.empty() ? QString() : mLayers.front().tapeQuality;
    }
    return mLayers[static_cast<std::size_t>(mSelectedLayer)].tapeQuality;
}

void QualityView::setQuality(const QString& quality)
{
    for (std::size_t i = 0; i < mLayers.size(); ++i) {
        if (mLayers[i].tapeQuality == quality) {
            selectLayer(static_cast<int>(i));
            return;
        }
    }
}

void QualityView::selectLayer(int layer)
{
    if (layer == mSelectedLayer)
        return;
    mSelectedLayer = layer;
    update();
    announceValue(quality());
    Q_EMIT qualityChanged();
}

void QualityView::setRecordingMode(bool recordingMode)
{
    mRecordingMode = recordingMode;
    setCursor(recordingMode ? Qt::ArrowCursor : Qt::PointingHandCursor);
    update();
}

void QualityView::pointerAt(const QPointF& point, bool dragging)
{
    if (dragging || mRecordingMode)
        return;
    for (std::size_t i = 0; i < mLayers.size(); ++i) {
        if (mLayers[i].frame.contains(point)) {
            selectLayer(static_cast<int>(i));
            return;
        }
    }
}

void QualityView::keyPressEvent(QKeyEvent* event)
{
    const int count = static_cast<int>(mLayers.size());
    int layer = mSelectedLayer;
    const int key = event->key();
    if (key == Qt::Key_Left || key == Qt::Key_Up)
        layer = std::max(0, layer - 1);
    else if (key == Qt::Key_Right || key == Qt::Key_Down)
        layer = std::min(count - 1, layer + 1);
    else if (isActivationKey(key))
        layer = count > 0 ? (layer + 1) % count : layer;
    else {
        ClickableHUDSubview::keyPressEvent(event);
        return;
    }
    // Taken even while recording, so the key does not reach the transport instead.
    if (!mRecordingMode)
        selectLayer(layer);
}

void QualityView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QFont font = HUDDrawing::labelFont(11.0);
    for (std::size_t i = 0; i < mLayers.size(); ++i) {
        const bool lit = static_cast<int>(i) == mSelectedLayer;
        const QColor color = lit ? HUDView::activeRecordColor() : HUDView::inactiveRecordColor();
        HUDDrawing::drawLitFrame(painter, mLayers[i].frame, color);
        HUDDrawing::drawLitText(painter, mLayers[i].frame.translated(0, 0.5), Qt::AlignCenter,
                                mLayers[i].tapeQuality, font, color);
    }
}

} // namespace spindrel
