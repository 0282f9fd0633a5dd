#pragma once

#include <QAccessibleWidget>
#include <functional>

namespace spindrel {

/// A HUD reading for assistive technologies: a slider the user can set (volume, position) or a
/// reading that only shows (level meter, time). Numbers through the value interface, the way
/// the display reads them as the value text.
class AccessibleHUDValue : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    struct Reading
    {
        QAccessible::Role role = QAccessible::Slider;
        QString name;
        std::function<double()> value;
        std::function<double()> minimum;
        std::function<double()> maximum;
        std::function<double()> step;
        /// What the display shows, in words ("-10 dB", "1:01.23").
        std::function<QString()> valueText;
        /// Empty for a reading that only shows.
        std::function<void(double)> setValue;
        /// True while a settable reading cannot be changed (recording).
        std::function<bool()> locked;
    };

    AccessibleHUDValue(QWidget* widget, Reading reading);

    QString text(QAccessible::Text t) const override;
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType t) override;

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    QVariant maximumValue() const override;
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override;

    QStringList actionNames() const override;
    void doAction(const QString& actionName) override;

private:
    bool settable() const;

    Reading mReading;
};

} // namespace spindrel
