#pragma once

#include <QWidget>
#include <utility>

namespace spindrel {

/// Input levels in dB, left then right; -100.0 is silence.
using StereoLevels = std::pair<double, double>;

/// The HUD's input level meter: two rows of six 10 dB segments growing outward from the "L"
/// and "R" labels between them.
class LevelView : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(spindrel::StereoLevels levels READ levels WRITE setLevels NOTIFY levelsChanged)
    Q_PROPERTY(bool stereo READ stereo WRITE setStereo)

public:
    static constexpr int segmentCount = 6;

    explicit LevelView(QWidget* parent = nullptr);

    const StereoLevels& levels() const { return mLevels; }
    void setLevels(const StereoLevels& levels);

    /// In mono both rows show the left level and the labels are dark.
    bool stereo() const { return mStereo; }
    void setStereo(bool stereo);

    /// Segments lit for a level: one per 10 dB above -60 dB, rounded to the nearest.
    static int litSegmentsForLevel(double level);
    /// Segments lit in row 0 (left) or 1 (right) now.
    int litSegments(int row) const;

    QSize sizeHint() const override { return {94, 14}; }

Q_SIGNALS:
    void levelsChanged();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    StereoLevels mLevels{-100.0, -100.0};
    bool mStereo = true;
};

} // namespace spindrel
