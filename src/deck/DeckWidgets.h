#pragma once

// PLACEHOLDERS, not the deck's widgets: plain stand-ins for the HUD, the transport strip and the
// cassette view, with the interface the deck drives, until the real widgets arrive. To be
// replaced by the widgets of src/hud.

#include "tapes/CassetteArtwork.h"
#include "tapes/Tape.h"

#include <QImage>
#include <QMap>
#include <QSet>
#include <QVariantMap>
#include <QWidget>
#include <functional>

class QTimer;

namespace spindrel {

class HUDView : public QWidget
{
    Q_OBJECT

public:
    explicit HUDView(QWidget* parent = nullptr);
    QString quality() const { return mQuality; }
    void setQuality(const QString& quality);
    bool stereo() const { return mStereo; }
    void setStereo(bool stereo);
    std::pair<double, double> levels() const { return mLevels; }
    void setLevels(double left, double right);
    double volume() const { return mVolume; }
    void setVolume(double volume);
    double time() const { return mTime; }
    void setTime(double time);
    double position() const { return mPosition; }
    void setPosition(double position);
    double maxTime() const { return mMaxTime; }
    void setMaxTime(double maxTime);
    bool recordingMode() const { return mRecordingMode; }
    void setRecordingMode(bool recordingMode);
    void setCanRecordStereo(std::function<bool()> canRecordStereo)
    {
        mCanRecordStereo = std::move(canRecordStereo);
    }
    QSize sizeHint() const override { return {366, 66}; }

Q_SIGNALS:
    void qualityChanged();
    void stereoChanged();
    void volumeChanged();
    void positionChanged();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString mQuality = QStringLiteral("LQ");
    bool mStereo = true;
    std::pair<double, double> mLevels{-100.0, -100.0};
    double mVolume = 0.0;
    double mTime = 0.0;
    double mPosition = 0.0;
    double mMaxTime = 0.0;
    bool mRecordingMode = false;
    std::function<bool()> mCanRecordStereo;
};

class SegmentedTapeButtonView : public QWidget
{
    Q_OBJECT

public:
    explicit SegmentedTapeButtonView(QWidget* parent = nullptr);
    void setSegments(int segments) { mSegments = segments; }
    int segments() const { return mSegments; }
    void setRecordSegment(int segment) { mRecordSegment = segment; }
    void setLabel(const QString& label, int segment) { mLabels[segment] = label; }
    QString label(int segment) const { return mLabels.value(segment); }
    void setImage(const QImage& image, int segment) { mImages[segment] = image; }
    void setHoldableSegment(int segment, bool holdable) { mHoldable[segment] = holdable; }
    void setKeymap(const QVariantMap& keymap) { mKeymap = keymap; }
    void setSelectedSegment(int segment);
    void clearSelectedSegment(int segment);
    void clearSelectedSegments();
    bool isSelectedSegment(int segment) const { return mSelected.contains(segment); }
    bool isDepressedSegment(int segment) const { return mSelected.contains(segment); }
    QRectF rectForSegment(int segment) const;
    QSize sizeHint() const override { return {366, 44}; }

Q_SIGNALS:
    void segmentAction(int segment);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int mSegments = 0;
    int mRecordSegment = 0;
    QMap<int, QString> mLabels;
    QMap<int, QImage> mImages;
    QMap<int, bool> mHoldable;
    QVariantMap mKeymap;
    QSet<int> mSelected;
};

class TapeView : public QWidget
{
    Q_OBJECT

public:
    explicit TapeView(QWidget* parent = nullptr);
    void setTape(const TapePtr& tape);
    TapePtr tape() const { return mTape; }
    void startRotationAnimation(bool start);
    bool isRotating() const { return mSpinTimer != nullptr; }
    void setRotationSpeed(double speed) { mRotationSpeed = speed; }
    double rotationSpeed() const { return mRotationSpeed; }
    void insertTape() {}
    void ejectTape() {}
    void setShareButtonVisible(bool) {}
    QSize sizeHint() const override { return {366, 233}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    TapePtr mTape;
    CassetteArtwork mArtwork;
    QTimer* mSpinTimer = nullptr;
    double mRotationSpeed = 0.0;
};

/// What the deck takes from the widget layer besides the widgets.
class DeckWidgets
{
public:
    static QImage buttonImage(int segment);
    static QVariantMap keyboardTransportMap();
};

} // namespace spindrel
