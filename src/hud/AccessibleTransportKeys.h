#pragma once

#include "hud/AccessibleChildren.h"

#include <QAccessibleWidget>
#include <QList>

namespace spindrel {

class SegmentedTapeButtonView;

/// The transport keys for assistive technologies: a group of push buttons, one per key, each
/// named after its action, pressed while it is down, with its keyboard key and a press action.
class AccessibleTransportKeys : public QAccessibleWidget
{
public:
    explicit AccessibleTransportKeys(SegmentedTapeButtonView* keys);
    ~AccessibleTransportKeys() override;

    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QString text(QAccessible::Text t) const override;

private:
    SegmentedTapeButtonView* keys() const;

    // The keys' interfaces, made when first asked for and registered with Qt's cache.
    mutable AccessibleChildren mKeyParts;
};

} // namespace spindrel
