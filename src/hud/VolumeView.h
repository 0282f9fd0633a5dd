#pragma once

#include "hud/ClickableHUDSubview.h"

namespace spindrel {

/// The HUD's playback volume: "VOL" and a wedge of six segments, 5 dB each, that the user
/// clicks or drags across.
class VolumeView : public ClickableHUDSubview
{
    Q_OBJECT
    Q_PROPERTY(double volume READ volume WRITE setVolume NOTIFY volumeChanged)

public:
    static constexpr int segmentCount = 6;
    /// Where the first segment's column starts; each column is 6 points wide and 16 high.
    static constexpr qreal firstColumn = 29.0;
    static constexpr qreal columnWidth = 6.0;
    static constexpr qreal columnHeight = 16.0;
    /// What the lowest column sets, and the keyboard's floor; each column is a step of 5 dB.
    static constexpr double minimumVolume = -25.0;
    static constexpr double volumeStep = 5.0;

    explicit VolumeView(QWidget* parent = nullptr);

    /// In dB; 0 is full volume.
    double volume() const { return mVolume; }
    void setVolume(double volume);

    /// Segments lit for a volume: one per 5 dB above -30 dB, rounded to the nearest.
    static int litSegmentsForVolume(double volume);
    int litSegments() const { return litSegmentsForVolume(mVolume); }
    /// The column's volume `steps` columns up (or down, when negative) from `volume`, within
    /// minimumVolume and 0 dB.
    static double steppedVolume(double volume, int steps);

    QSize sizeHint() const override { return {66, 16}; }

Q_SIGNALS:
    void volumeChanged();

protected:
    void pointerAt(const QPointF& point, bool dragging) override;
    void paintEvent(QPaintEvent* event) override;
    /// Right/Up one column louder, Left/Down one softer, Home the softest, End full volume.
    void keyPressEvent(QKeyEvent* event) override;

private:
    double mVolume = 0.0;
};

} // namespace spindrel
