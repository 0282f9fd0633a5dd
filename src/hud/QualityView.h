#pragma once

#include "hud/ClickableHUDSubview.h"

#include <QRectF>
#include <vector>

namespace spindrel {

/// The HUD's recording quality selector: one lit box per preset ("HQ", "MQ", "LQ").
class QualityView : public ClickableHUDSubview
{
    Q_OBJECT
    Q_PROPERTY(QString quality READ quality WRITE setQuality NOTIFY qualityChanged)
    Q_PROPERTY(bool recordingMode READ recordingMode WRITE setRecordingMode)

public:
    struct Layer
    {
        QString name;        ///< "q0", "q1", ...
        QString tapeQuality; ///< the preset the box stands for
        QRectF frame;
    };

    explicit QualityView(QWidget* parent = nullptr);

    /// The selected box's preset.
    QString quality() const;
    /// Selects the first box of that preset; an unknown name leaves the selection.
    void setQuality(const QString& quality);

    /// While recording the choice is locked.
    bool recordingMode() const { return mRecordingMode; }
    void setRecordingMode(bool recordingMode);

    const std::vector<Layer>& layers() const { return mLayers; }
    int selectedLayer() const { return mSelectedLayer; }

    QSize sizeHint() const override { return {86, 16}; }

Q_SIGNALS:
    void qualityChanged();

protected:
    void pointerAt(const QPointF& point, bool dragging) override;
    void paintEvent(QPaintEvent* event) override;
    /// Left/Up and Right/Down pick the neighbouring box, Space or Return the next one round.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void selectLayer(int layer);

    std::vector<Layer> mLayers;
    int mSelectedLayer = 0;
    bool mRecordingMode = false;
};

} // namespace spindrel
