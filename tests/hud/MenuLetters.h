#pragma once

#include "hud/MenuMnemonics.h"

#include <QMenu>
#include <gtest/gtest.h>

namespace spindrel::test {

/// Alt and a letter reach every item of the menu as it opens, one item each.
inline void expectALetterPerItem(QMenu* menu)
{
    Q_EMIT menu->aboutToShow();
    QString letters;
    for (const QAction* item : menu->actions()) {
        if (item->isSeparator() || !item->isVisible())
            continue;
        const QChar letter = MenuMnemonics::mnemonic(item->text());
        EXPECT_FALSE(letter.isNull()) << item->text().toStdString();
        EXPECT_FALSE(letters.contains(letter)) << item->text().toStdString();
        letters += letter;
    }
}

} // namespace spindrel::test
