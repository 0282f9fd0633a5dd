#pragma once

#include <QWidget>

namespace spindrel {

/// An engraved line between parts of the deck.
class DividerView : public QWidget
{
    Q_OBJECT

public:
    explicit DividerView(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {100, 4}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace spindrel
