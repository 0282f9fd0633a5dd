#pragma once

#include <QString>

class QMenu;

namespace spindrel {

/// Gives every item of a menu that has no mnemonic one of its own (the first free letter that
/// starts a word, else any free letter), so Alt and a letter reach each item in any language
/// without the catalogue having to pick letters. Items that carry one already keep it.
class MenuMnemonics
{
public:
    /// Marks the items of `menu` and of its submenus.
    static void assign(QMenu* menu);
    /// Marks them now and again each time the menu opens, after the handlers connected before,
    /// which may have changed item texts.
    static void keepAssigned(QMenu* menu);

    /// The letter after the single '&' of `text`, lower case, or a null QChar.
    static QChar mnemonic(const QString& text);
    /// `text` with a mnemonic chosen among the letters not in `taken` (lower case), or unchanged
    /// when it has one or none is free.
    static QString withMnemonic(const QString& text, const QString& taken);
    /// `text` as the user reads it: without the '&' marks ("&&" stands for one '&').
    static QString withoutMnemonic(const QString& text);
};

} // namespace spindrel
