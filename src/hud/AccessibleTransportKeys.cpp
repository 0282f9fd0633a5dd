#include "hud/AccessibleTransportKeys.h"

#include "hud/KeyboardTransportMap.h"
#include "hud/SegmentedTapeButtonView.h"

#include <QKeySequence>
#include <QPointer>

namespace spindrel {

namespace {

/// One key: not a widget of its own, so an interface over a part of the strip.
class AccessibleTransportKey : public AccessibleLeaf, public QAccessibleActionInterface
{
public:
    AccessibleTransportKey(SegmentedTapeButtonView* keys, int segment) : mKeys(keys), mSegment(segment) {}

    bool isValid() const override { return mKeys && mSegment < mKeys->segments(); }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(mKeys); }
    QAccessible::Role role() const override { return QAccessible::Button; }

    QString text(QAccessible::Text t) const override
    {
        if (!isValid())
            return {};
        switch (t) {
        case QAccessible::Name:
            return mKeys->spokenLabel(mSegment);
        case QAccessible::Accelerator: {
            const int qtKey =
                KeyboardTransportMap::qtKeyForHardwareKeyCode(mKeys->keyCodeForSegment(mSegment));
            return qtKey ? QKeySequence(qtKey).toString(QKeySequence::NativeText) : QString();
        }
        default:
            return {};
        }
    }

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect local = mKeys->rectForSegment(mSegment).toAlignedRect();
        return {mKeys->mapToGlobal(local.topLeft()), local.size()};
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid())
            return state;
        state.invisible = !mKeys->isVisible();
        state.disabled = !mKeys->isEnabled();
        state.pressed = mKeys->isDepressedSegment(mSegment);
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override
    {
        if (isValid() && name == pressAction())
            mKeys->tapSegment(mSegment);
    }
    QStringList keyBindingsForAction(const QString& name) const override
    {
        const QString key = text(QAccessible::Accelerator);
        return name == pressAction() && !key.isEmpty() ? QStringList{key} : QStringList{};
    }

private:
    QPointer<SegmentedTapeButtonView> mKeys;
    int mSegment;
};

} // namespace

AccessibleTransportKeys::AccessibleTransportKeys(SegmentedTapeButtonView* keys)
    : QAccessibleWidget(keys, QAccessible::Grouping),
      mKeyParts([keys](int index) { return new AccessibleTransportKey(keys, index); })
{
}

AccessibleTransportKeys::~AccessibleTransportKeys() {}

SegmentedTapeButtonView* AccessibleTransportKeys::keys() const
{
    return static_cast<SegmentedTapeButtonView*>(widget());
}

int AccessibleTransportKeys::childCount() const
{
    return keys()->segments();
}

QAccessibleInterface* AccessibleTransportKeys::child(int index) const
{
    return mKeyParts.child(index, childCount());
}

int AccessibleTransportKeys::indexOfChild(const QAccessibleInterface* child) const
{
    return mKeyParts.indexOf(child);
}

QAccessibleInterface* AccessibleTransportKeys::childAt(int x, int y) const
{
    const int segment = keys()->segmentForPoint(keys()->mapFromGlobal(QPoint(x, y)));
    return segment >= 0 ? child(segment) : nullptr;
}

QString AccessibleTransportKeys::text(QAccessible::Text t) const
{
    if (t == QAccessible::Name && keys()->accessibleName().isEmpty())
        return SegmentedTapeButtonView::tr("Transport");
    return QAccessibleWidget::text(t);
}

} // namespace spindrel
