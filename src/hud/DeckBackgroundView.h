#pragma once

#include "hud/LayerCache.h"

#include <QList>
#include <QWidget>

namespace spindrel {

/// The deck's body: dark brushed metal with a screw in each corner and engraved lines across.
class DeckBackgroundView : public QWidget
{
    Q_OBJECT

public:
    explicit DeckBackgroundView(QWidget* parent = nullptr);

    /// Heights at which an engraved line crosses the body.
    void setDividers(const QList<int>& heights);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintBody(QPainter& painter) const;

    QList<int> mDividers;
    LayerCache mBody;
};

} // namespace spindrel
