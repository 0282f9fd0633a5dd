#include "hud/MenuMnemonics.h"

#include <QAction>
#include <QMenu>

namespace spindrel {

QChar MenuMnemonics::mnemonic(const QString& text)
{
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('&'))
            continue;
        if (text.at(i + 1) == QLatin1Char('&')) {
            ++i; // an ampersand of the text itself
            continue;
        }
        return text.at(i + 1).toLower();
    }
    return {};
}

QString MenuMnemonics::withoutMnemonic(const QString& text)
{
    QString plain;
    plain.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('&') && i + 1 < text.size())
            ++i;
        plain += text.at(i);
    }
    return plain;
}

QString MenuMnemonics::withMnemonic(const QString& text, const QString& taken)
{
    if (!mnemonic(text).isNull())
        return text;
    const auto usable = [&](qsizetype i) {
        const QChar c = text.at(i);
        return c.isLetterOrNumber() && !taken.contains(c.toLower()) &&
               !(i > 0 && text.at(i - 1) == QLatin1Char('&'));
    };
    const auto startsWord = [&](qsizetype i) { return i == 0 || text.at(i - 1).isSpace(); };
    qsizetype chosen = -1;
    for (qsizetype i = 0; i < text.size() && chosen < 0; ++i) {
        if (startsWord(i) && usable(i))
            chosen = i;
    }
    for (qsizetype i = 0; i < text.size() && chosen < 0; ++i) {
        if (usable(i))
            chosen = i;
    }
    if (chosen < 0)
        return text;
    return text.left(chosen) + QLatin1Char('&') + text.mid(chosen);
}

void MenuMnemonics::assign(QMenu* menu)
{
    if (!menu)
        return;
    QString taken;
    const QList<QAction*> actions = menu->actions();
    for (const QAction* action : actions) {
        const QChar letter = mnemonic(action->text());
        if (!letter.isNull())
            taken += letter;
    }
    for (QAction* action : actions) {
        if (action->isSeparator() || action->text().isEmpty() || !mnemonic(action->text()).isNull())
            continue;
        const QString marked = withMnemonic(action->text(), taken);
        const QChar letter = mnemonic(marked);
        if (letter.isNull())
            continue;
        taken += letter;
        action->setText(marked);
    }
    for (const QAction* action : actions)
        assign(action->menu());
}

void MenuMnemonics::keepAssigned(QMenu* menu)
{
    assign(menu);
    QObject::connect(menu, &QMenu::aboutToShow, menu, [menu] { assign(menu); });
}

} // namespace spindrel
