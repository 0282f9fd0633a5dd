#include "hud/AccessibleChoiceGroup.h"

#include <QPointer>
#include <QWidget>

namespace spindrel {

namespace {

class AccessibleChoice : public AccessibleLeaf, public QAccessibleActionInterface
{
public:
    AccessibleChoice(QWidget* widget, int index) : mWidget(widget), mIndex(index) {}

    bool isValid() const override { return mWidget && group() && mIndex < group()->childCount(); }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(mWidget); }
    QAccessible::Role role() const override { return QAccessible::RadioButton; }
    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect local = group()->choices().frame(mIndex).toAlignedRect();
        return {mWidget->mapToGlobal(local.topLeft()), local.size()};
    }

    QString text(QAccessible::Text t) const override
    {
        if (t != QAccessible::Name || !isValid())
            return {};
        return group()->choices().names().value(mIndex);
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid())
            return state;
        const AccessibleChoiceGroup::Choices& choices = group()->choices();
        state.invisible = !mWidget->isVisible();
        state.disabled = !mWidget->isEnabled() || choices.locked();
        state.checkable = true;
        state.checked = choices.chosen() == mIndex;
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
        if (isValid() && name == pressAction() && !group()->choices().locked())
            group()->choices().choose(mIndex);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    AccessibleChoiceGroup* group() const
    {
        return static_cast<AccessibleChoiceGroup*>(QAccessible::queryAccessibleInterface(mWidget));
    }

    QPointer<QWidget> mWidget;
    int mIndex;
};

} // namespace

AccessibleChoiceGroup::AccessibleChoiceGroup(QWidget* widget, Choices choices)
    : QAccessibleWidget(widget, QAccessible::Grouping), mChoices(std::move(choices)),
      mChoiceParts([widget](int index) { return new AccessibleChoice(widget, index); })
{
}

AccessibleChoiceGroup::~AccessibleChoiceGroup() {}

int AccessibleChoiceGroup::childCount() const
{
    return static_cast<int>(mChoices.names().size());
}

QAccessibleInterface* AccessibleChoiceGroup::child(int index) const
{
    return mChoiceParts.child(index, childCount());
}

int AccessibleChoiceGroup::indexOfChild(const QAccessibleInterface* child) const
{
    return mChoiceParts.indexOf(child);
}

QAccessibleInterface* AccessibleChoiceGroup::childAt(int x, int y) const
{
    const QPointF point = widget()->mapFromGlobal(QPoint(x, y));
    for (int index = 0; index < childCount(); ++index) {
        if (mChoices.frame(index).contains(point))
            return child(index);
    }
    return nullptr;
}

QString AccessibleChoiceGroup::text(QAccessible::Text t) const
{
    if (t == QAccessible::Name && widget()->accessibleName().isEmpty())
        return mChoices.name;
    if (t == QAccessible::Value)
        return mChoices.names().value(mChoices.chosen());
    return QAccessibleWidget::text(t);
}

} // namespace spindrel
