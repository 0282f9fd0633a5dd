#pragma once

#include <QWidget>

namespace spindrel {

/// A part of the HUD that the user can click: shows the pointing hand over itself and hands each
/// click (and, for controls that follow the pointer, each drag step) to the subclass.
class ClickableHUDSubview : public QWidget
{
    Q_OBJECT

public:
    explicit ClickableHUDSubview(QWidget* parent = nullptr);

protected:
    /// A press at `point`, or with `dragging` a move while the button is held.
    virtual void pointerAt(const QPointF& point, bool dragging) = 0;

    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
};

} // namespace spindrel
