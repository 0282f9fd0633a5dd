#include "hud/StereoView.h"

#include "hud/HUDDrawing.h"
#include "hud/HUDView.h"

#include <QKeyEvent>
#include <QMessageBox>
#include <QPainter>

namespace spindrel {

StereoView::StereoView(QWidget* parent) : ClickableHUDSubview(parent)
{
    mFrames = {QRectF(0.5, 0.5, 52.0, 15.0), QRectF(0.5 + layerSpacing, 0.5, 40.0, 15.0)};
}

void StereoView::setStereo(bool stereo)
{
    if (stereo == mStereo)
        return;
    mStereo = stereo;
    update();
    announceValue(stereo ? tr("Stereo") : tr("Mono"));
    Q_EMIT stereoChanged();
}

void StereoView::setRecordingMode(bool recordingMode)
{
    mRecordingMode = recordingMode;
    setCursor(recordingMode ? Qt::ArrowCursor : Qt::PointingHandCursor);
    update();
}

void StereoView::showMonoRecordingOnlyAlert(QWidget* parent)
{
    // Window-modal but not blocking: the deck's keys and hot keys go on working behind it.
    auto* alert = new QMessageBox(QMessageBox::Warning, tr("Mono Recording Only"), tr("Mono Recording Only"),
                                  QMessageBox::Ok, parent);
    alert->setInformativeText(tr("Your currently chosen input device only records in mono. Choose another "
                                 "device in the preferences if you require stereo recording."));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->open();
}

void StereoView::pointerAt(const QPointF& point, bool dragging)
{
    if (dragging)
        return;
    for (int layer = 0; layer < 2; ++layer) {
        if (layerFrame(layer).contains(point)) {
            chooseStereo(layer == 0);
            return;
        }
    }
}

void StereoView::chooseStereo(bool stereo)
{
    if (mRecordingMode)
        return;
    if (stereo && mCanRecordStereo && !mCanRecordStereo()) {
        if (mMonoAlert)
            mMonoAlert();
        else
            showMonoRecordingOnlyAlert(window());
        setStereo(false);
        return;
    }
    setStereo(stereo);
}

void StereoView::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    if (key == Qt::Key_Left || key == Qt::Key_Up)
        chooseStereo(true);
    else if (key == Qt::Key_Right || key == Qt::Key_Down)
        chooseStereo(false);
    else if (isActivationKey(key))
        chooseStereo(!mStereo);
    else
        ClickableHUDSubview::keyPressEvent(event);
}

void StereoView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QFont font = HUDDrawing::labelFont(11.0);
    const std::array<QString, 2> texts = {QStringLiteral("STEREO"), QStringLiteral("MONO")};
    for (int layer = 0; layer < 2; ++layer) {
        const bool lit = (layer == 0) == mStereo;
        const QColor color = lit ? HUDView::activeRecordColor() : HUDView::inactiveRecordColor();
        HUDDrawing::drawLitFrame(painter, layerFrame(layer), color);
        HUDDrawing::drawLitText(painter, layerFrame(layer).translated(0, 0.5), Qt::AlignCenter,
                                texts[static_cast<std::size_t>(layer)], font, color);
    }
}

} // namespace spindrel
