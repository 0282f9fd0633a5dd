#include "hud/AccessibleTapeView.h"

#include "hud/TapeView.h"

namespace spindrel {

AccessibleTapeView::AccessibleTapeView(TapeView* view) : QAccessibleWidget(view, QAccessible::Graphic) {}

TapeView* AccessibleTapeView::view() const
{
    return static_cast<TapeView*>(widget());
}

QString AccessibleTapeView::editTitleAction()
{
    return TapeView::tr("Edit Title");
}

QString AccessibleTapeView::editNotesAction()
{
    return TapeView::tr("Edit Notes");
}

QString AccessibleTapeView::changeColorAction()
{
    return TapeView::tr("Change Color");
}

QString AccessibleTapeView::text(QAccessible::Text t) const
{
    switch (t) {
    case QAccessible::Name:
        return widget()->accessibleName().isEmpty() ? TapeView::tr("Cassette") : widget()->accessibleName();
    case QAccessible::Value:
        return view()->tape() ? view()->title() : QString();
    case QAccessible::Description:
        return view()->tape() ? view()->notes() : TapeView::tr("No tape");
    default:
        return QAccessibleWidget::text(t);
    }
}

QAccessible::State AccessibleTapeView::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.editable = view()->tape() != nullptr;
    return state;
}

QStringList AccessibleTapeView::actionNames() const
{
    if (!view()->tape())
        return {};
    return {editTitleAction(), editNotesAction(), changeColorAction()};
}

void AccessibleTapeView::doAction(const QString& actionName)
{
    if (!view()->tape())
        return;
    if (actionName == editTitleAction())
        view()->editTitle();
    else if (actionName == editNotesAction())
        view()->displayNotesEditor();
    else if (actionName == changeColorAction())
        view()->advanceColorScheme();
}

} // namespace spindrel
