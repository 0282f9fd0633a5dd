#pragma once

#include <QAccessibleWidget>

namespace spindrel {

class TapeView;

/// The cassette for assistive technologies: a picture whose value is the tape's title and whose
/// description is its notes, with the actions a click on its label or letter has.
class AccessibleTapeView : public QAccessibleWidget
{
public:
    explicit AccessibleTapeView(TapeView* view);

    QString text(QAccessible::Text t) const override;
    QAccessible::State state() const override;
    QStringList actionNames() const override;
    void doAction(const QString& actionName) override;

    static QString editTitleAction();
    static QString editNotesAction();
    static QString changeColorAction();

private:
    TapeView* view() const;
};

} // namespace spindrel
