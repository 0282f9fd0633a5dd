#pragma once

#include <QAccessible>
#include <QList>
#include <functional>

namespace spindrel {

/// The parts of a custom-drawn control as accessible objects of their own, made when a screen
/// reader first asks for one and registered with the accessibility framework until the control's
/// interface goes.
/// A part of a control that has no parts of its own: the framework's questions about children,
/// focus and editing all have the same answers.
class AccessibleLeaf : public QAccessibleInterface
{
public:
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return parent() ? parent()->window() : nullptr; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* focusChild() const override { return nullptr; }
    void setText(QAccessible::Text, const QString&) override {}
};

class AccessibleChildren
{
public:
    using Factory = std::function<QAccessibleInterface*(int index)>;

    explicit AccessibleChildren(Factory make) : mMake(std::move(make)) {}
    ~AccessibleChildren()
    {
        for (const QAccessible::Id id : std::as_const(mIds)) {
            if (id != 0)
                QAccessible::deleteAccessibleInterface(id);
        }
    }
    AccessibleChildren(const AccessibleChildren&) = delete;
    AccessibleChildren& operator=(const AccessibleChildren&) = delete;

    /// The part at `index` of `count`, or null outside them.
    QAccessibleInterface* child(int index, int count)
    {
        if (index < 0 || index >= count)
            return nullptr;
        if (mIds.size() <= index)
            mIds.resize(index + 1, 0);
        if (mIds[index] == 0)
            mIds[index] = QAccessible::registerAccessibleInterface(mMake(index));
        return QAccessible::accessibleInterface(mIds[index]);
    }

    int indexOf(const QAccessibleInterface* child) const
    {
        for (int index = 0; index < mIds.size(); ++index) {
            if (mIds[index] != 0 && QAccessible::accessibleInterface(mIds[index]) == child)
                return index;
        }
        return -1;
    }

private:
    Factory mMake;
    QList<QAccessible::Id> mIds;
};

} // namespace spindrel
