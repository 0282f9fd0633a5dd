#pragma once

#include <QWidget>

namespace spindrel {

/// A part of the HUD that the user can click: shows the pointing hand over itself and hands each
/// click (and, for controls that follow the pointer, each drag step) to the subclass. Tab reaches
/// it (a click does not take the keyboard from the transport keys); the HUD rings it while it has
/// the keyboard.
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
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    /// Space, Return and Enter: the keys that press a focused control.
    static bool isActivationKey(int key);
    /// Tells assistive technologies the control's value changed (as their value text reads it).
    void announceValue(const QVariant& value);
};

} // namespace spindrel
