#pragma once

#include "hud/ClickableHUDSubview.h"

#include <QRectF>
#include <array>
#include <functional>

namespace spindrel {

/// The HUD's "STEREO" / "MONO" switch.
class StereoView : public ClickableHUDSubview
{
    Q_OBJECT
    Q_PROPERTY(bool stereo READ stereo WRITE setStereo NOTIFY stereoChanged)
    Q_PROPERTY(bool recordingMode READ recordingMode WRITE setRecordingMode)

public:
    /// The two layers are this far apart.
    static constexpr qreal layerSpacing = 57.0;

    explicit StereoView(QWidget* parent = nullptr);

    bool stereo() const { return mStereo; }
    void setStereo(bool stereo);

    bool recordingMode() const { return mRecordingMode; }
    void setRecordingMode(bool recordingMode);

    /// Whether the chosen recording device can record two channels; asked when the user picks
    /// stereo. Without a check every device counts as stereo.
    void setCanRecordStereo(std::function<bool()> canRecordStereo)
    {
        mCanRecordStereo = std::move(canRecordStereo);
    }
    /// Shows the "Mono Recording Only" alert; a window-modal message box that does not block.
    void setMonoAlert(std::function<void()> alert) { mMonoAlert = std::move(alert); }
    static void showMonoRecordingOnlyAlert(QWidget* parent);

    /// The user's choice: stereo on a device that records only mono alerts and stays mono; nothing
    /// changes while recording.
    void chooseStereo(bool stereo);

    /// Layer 0 is "STEREO", layer 1 "MONO".
    QRectF layerFrame(int layer) const { return mFrames[static_cast<std::size_t>(layer)]; }

    QSize sizeHint() const override { return {98, 16}; }

Q_SIGNALS:
    void stereoChanged();

protected:
    void pointerAt(const QPointF& point, bool dragging) override;
    void paintEvent(QPaintEvent* event) override;
    /// Left/Up pick stereo, Right/Down mono, Space or Return the other one.
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::array<QRectF, 2> mFrames;
    bool mStereo = true;
    bool mRecordingMode = false;
    std::function<bool()> mCanRecordStereo;
    std::function<void()> mMonoAlert;
};

} // namespace spindrel
