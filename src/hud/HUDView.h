#pragma once

#include "hud/LayerCache.h"
#include "hud/LevelView.h"

#include <QColor>
#include <QWidget>
#include <functional>

namespace spindrel {

class HUDHighlightView;
class PositionView;
class QualityView;
class StereoView;
class TimeView;
class VolumeView;

/// The deck's lit display. Shows and edits the recording quality and mono/stereo, shows the
/// input levels, the playback volume, the elapsed time and the position bar, which also seeks.
/// Every value is a property with a change signal; the signals fire for changes the user makes
/// in the display as well as for values set from outside, and only when a value changes.
class HUDView : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString quality READ quality WRITE setQuality NOTIFY qualityChanged)
    Q_PROPERTY(bool stereo READ stereo WRITE setStereo NOTIFY stereoChanged)
    Q_PROPERTY(spindrel::StereoLevels levels READ levels WRITE setLevels NOTIFY levelsChanged)
    Q_PROPERTY(double volume READ volume WRITE setVolume NOTIFY volumeChanged)
    Q_PROPERTY(double time READ time WRITE setTime NOTIFY timeChanged)
    Q_PROPERTY(double position READ position WRITE setPosition NOTIFY positionChanged)
    Q_PROPERTY(double maxTime READ maxTime WRITE setMaxTime NOTIFY maxTimeChanged)
    Q_PROPERTY(bool recordingMode READ recordingMode WRITE setRecordingMode NOTIFY recordingModeChanged)

public:
    // The five colours every lit element is drawn in.
    static QColor backgroundColor();
    static QColor inactiveColor();
    static QColor activeColor();
    static QColor inactiveRecordColor();
    static QColor activeRecordColor();

    explicit HUDView(QWidget* parent = nullptr);

    /// "HQ", "MQ" or "LQ"; an unknown name is ignored.
    QString quality() const;
    void setQuality(const QString& quality);
    bool stereo() const;
    void setStereo(bool stereo);
    /// Input levels in dB, left then right.
    StereoLevels levels() const;
    void setLevels(const StereoLevels& levels);
    void setLevels(double left, double right) { setLevels(StereoLevels{left, right}); }
    /// Playback volume in dB, 0 is full.
    double volume() const;
    void setVolume(double volume);
    /// Elapsed time in milliseconds.
    double time() const;
    void setTime(double time);
    /// Playback or recording position in milliseconds; the user sets it by seeking.
    double position() const;
    void setPosition(double position);
    /// The tape's duration in milliseconds.
    double maxTime() const;
    void setMaxTime(double maxTime);
    /// Locks quality and stereo and turns the position bar into a running light.
    bool recordingMode() const { return mRecordingMode; }
    void setRecordingMode(bool recordingMode);

    /// Asked when the user picks stereo; false shows "Mono Recording Only" and keeps mono.
    void setCanRecordStereo(std::function<bool()> canRecordStereo);
    /// Replaces the modal alert (tests, or a sheet of the deck's own).
    void setMonoAlert(std::function<void()> alert);

    QualityView* qualityView() const { return mQualityView; }
    StereoView* stereoView() const { return mStereoView; }
    LevelView* levelView() const { return mLevelView; }
    VolumeView* volumeView() const { return mVolumeView; }
    TimeView* timeView() const { return mTimeView; }
    PositionView* positionView() const { return mPositionView; }

    QSize sizeHint() const override { return {366, 66}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    void qualityChanged();
    void stereoChanged();
    void levelsChanged();
    void volumeChanged();
    void timeChanged();
    void positionChanged();
    void maxTimeChanged();
    void recordingModeChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QRectF screenRect() const;
    void paintPanel(QPainter& painter) const;
    void layoutSubviews();

    QualityView* mQualityView;
    StereoView* mStereoView;
    LevelView* mLevelView;
    VolumeView* mVolumeView;
    TimeView* mTimeView;
    PositionView* mPositionView;
    HUDHighlightView* mHighlightView;
    LayerCache mPanel;
    bool mRecordingMode = false;
};

} // namespace spindrel
