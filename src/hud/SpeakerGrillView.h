#pragma once

#include <QWidget>

namespace spindrel {

/// The speaker grille of the deck.
class SpeakerGrillView : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;
    QSize sizeHint() const override { return {120, 60}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace spindrel
