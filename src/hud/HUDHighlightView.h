#pragma once

#include "hud/LayerCache.h"

#include <QWidget>

namespace spindrel {

/// The glass over the HUD's screen: a highlight and an edge shadow, drawn over the lit elements.
/// Holds no state and lets every click through.
class HUDHighlightView : public QWidget
{
    Q_OBJECT

public:
    explicit HUDHighlightView(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintGloss(QPainter& painter) const;

    LayerCache mGloss;
};

} // namespace spindrel
