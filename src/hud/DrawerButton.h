#pragma once

#include <QAbstractButton>

namespace spindrel {

/// A handle on the deck's side that opens and closes the tape drawer; its arrow points the way
/// the drawer will move.
class DrawerButton : public QAbstractButton
{
    Q_OBJECT

public:
    enum Side { Left, Right };

    explicit DrawerButton(Side side, QWidget* parent = nullptr);

    bool isDisclosed() const { return mDisclosed; }
    /// Also names the button for assistive technologies by what a press will do.
    void setDisclosed(bool disclosed);

    QSize sizeHint() const override { return {14, 48}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Side mSide;
    bool mDisclosed = false;
};

} // namespace spindrel
