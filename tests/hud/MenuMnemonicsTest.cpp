#include "hud/MenuMnemonics.h"

#include <QMenu>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QStringList texts(const QMenu& menu)
{
    QStringList list;
    for (const QAction* action : menu.actions()) {
        if (!action->isSeparator())
            list << action->text();
    }
    return list;
}

} // namespace

TEST(MenuMnemonicsTest, EachItemGetsALetterOfItsOwnAndMarkedItemsKeepTheirs)
{
    QMenu menu;
    menu.addAction(QStringLiteral("Show in Folder"));
    menu.addAction(QStringLiteral("Show Tapes"));
    menu.addAction(QStringLiteral("&Move Tape to Trash"));
    menu.addAction(QStringLiteral("Mail"));
    menu.addSeparator();
    menu.addAction(QStringLiteral("Tom && Jerry"));
    menu.addAction(QStringLiteral("STOP"));
    menu.addAction(QStringLiteral("Stop"));
    QMenu* share = menu.addMenu(QStringLiteral("Share"));
    share->addAction(QStringLiteral("Send"));
    share->addAction(QStringLiteral("Save"));

    MenuMnemonics::assign(&menu);
    // Word starts first, then any free letter; a letter already marked is not taken again; "&&" is
    // an ampersand of the text.
    EXPECT_EQ(texts(menu), (QStringList{QStringLiteral("&Show in Folder"), QStringLiteral("Show &Tapes"),
                                        QStringLiteral("&Move Tape to Trash"), QStringLiteral("M&ail"),
                                        QStringLiteral("Tom && &Jerry"), QStringLiteral("ST&OP"),
                                        QStringLiteral("Sto&p"), QStringLiteral("S&hare")}));
    EXPECT_EQ(texts(*share), (QStringList{QStringLiteral("&Send"), QStringLiteral("S&ave")}));
    EXPECT_EQ(MenuMnemonics::withoutMnemonic(QStringLiteral("Tom && &Jerry")), QStringLiteral("Tom & Jerry"));

    // A text with no free letter is left as it is.
    EXPECT_EQ(MenuMnemonics::withMnemonic(QStringLiteral("Go"), QStringLiteral("go")), QStringLiteral("Go"));
    EXPECT_EQ(MenuMnemonics::mnemonic(QStringLiteral("Go")), QChar());

    // Kept: an item renamed as the menu opens gets a letter again, and not a taken one.
    QMenu kept;
    QAction* drawer = kept.addAction(QStringLiteral("Show Tapes"));
    kept.addAction(QStringLiteral("Hide Nothing"));
    QObject::connect(&kept, &QMenu::aboutToShow, &kept,
                     [drawer] { drawer->setText(QStringLiteral("Hide Tapes")); });
    MenuMnemonics::keepAssigned(&kept);
    Q_EMIT kept.aboutToShow();
    EXPECT_EQ(texts(kept), (QStringList{QStringLiteral("Hide &Tapes"), QStringLiteral("&Hide Nothing")}));
}
