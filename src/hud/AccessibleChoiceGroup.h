#pragma once

#include "hud/AccessibleChildren.h"

#include <QAccessibleWidget>
#include <QList>
#include <QStringList>
#include <functional>

namespace spindrel {

/// A HUD control that picks one of a few lit boxes (quality, stereo or mono), for assistive
/// technologies: a group of radio buttons, the chosen one checked, each with a press action.
/// The group's value is the chosen box's name.
class AccessibleChoiceGroup : public QAccessibleWidget
{
public:
    struct Choices
    {
        QString name;
        std::function<QStringList()> names;
        /// Where each box is drawn, in the control's coordinates.
        std::function<QRectF(int)> frame;
        std::function<int()> chosen;
        std::function<void(int)> choose;
        /// True while the choice cannot be changed (recording).
        std::function<bool()> locked;
    };

    AccessibleChoiceGroup(QWidget* widget, Choices choices);
    ~AccessibleChoiceGroup() override;

    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QString text(QAccessible::Text t) const override;

    const Choices& choices() const { return mChoices; }

private:
    Choices mChoices;
    mutable AccessibleChildren mChoiceParts;
};

} // namespace spindrel
