#pragma once

#include "hud/LayerCache.h"

#include <QWidget>

namespace spindrel {

/// The HUD's elapsed time, "m:ss.hh".
class TimeView : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(double time READ time WRITE setTime NOTIFY timeChanged)

public:
    explicit TimeView(QWidget* parent = nullptr);

    /// In milliseconds.
    double time() const { return mTime; }
    void setTime(double time);

    /// Minutes (not limited to 59), whole seconds and hundredths: 61234.5 ms is "1:01.23".
    static QString timeString(double timeMs);

    QSize sizeHint() const override { return {140, 26}; }

Q_SIGNALS:
    void timeChanged();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double mTime = 0.0;
    // The unlit digits change only when the number of digits does.
    LayerCache mGhost;
    QString mGhostText;
};

} // namespace spindrel
