#include "hud/AccessibleHUDValue.h"

#include <QWidget>
#include <algorithm>

namespace spindrel {

AccessibleHUDValue::AccessibleHUDValue(QWidget* widget, Reading reading)
    : QAccessibleWidget(widget, reading.role), mReading(std::move(reading))
{
}

bool AccessibleHUDValue::settable() const
{
    return mReading.setValue && widget()->isEnabled() && !(mReading.locked && mReading.locked());
}

QString AccessibleHUDValue::text(QAccessible::Text t) const
{
    if (t == QAccessible::Name && widget()->accessibleName().isEmpty())
        return mReading.name;
    if (t == QAccessible::Value)
        return mReading.valueText();
    return QAccessibleWidget::text(t);
}

QAccessible::State AccessibleHUDValue::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = !settable();
    return state;
}

void* AccessibleHUDValue::interface_cast(QAccessible::InterfaceType t)
{
    if (t == QAccessible::ValueInterface)
        return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(t);
}

QVariant AccessibleHUDValue::currentValue() const
{
    return mReading.value();
}

void AccessibleHUDValue::setCurrentValue(const QVariant& value)
{
    if (!settable())
        return;
    mReading.setValue(std::clamp(value.toDouble(), mReading.minimum(), mReading.maximum()));
}

QVariant AccessibleHUDValue::maximumValue() const
{
    return mReading.maximum();
}

QVariant AccessibleHUDValue::minimumValue() const
{
    return mReading.minimum();
}

QVariant AccessibleHUDValue::minimumStepSize() const
{
    return mReading.step();
}

QStringList AccessibleHUDValue::actionNames() const
{
    QStringList names = QAccessibleWidget::actionNames();
    if (settable())
        names << increaseAction() << decreaseAction();
    return names;
}

void AccessibleHUDValue::doAction(const QString& actionName)
{
    if (actionName == increaseAction())
        setCurrentValue(mReading.value() + mReading.step());
    else if (actionName == decreaseAction())
        setCurrentValue(mReading.value() - mReading.step());
    else
        QAccessibleWidget::doAction(actionName);
}

} // namespace spindrel
