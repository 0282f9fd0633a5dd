// The deck in German: the menus, their mnemonics and the preferences window.
#include "LaunchedDeckTest.h"
#include "app/PreferencesWindow.h"
#include "app/Translations.h"
#include "hud/MenuLetters.h"
#include "hud/MenuMnemonics.h"

#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

class TranslationsGuiTest : public test::LaunchedDeckTest
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(Translations::install(QLocale(QStringLiteral("de_DE"))), QStringLiteral("de"));
        launchDeck();
    }

    void TearDown() override
    {
        LaunchedDeckTest::TearDown();
        Translations::remove();
    }

    QMenuBar* menuBar() const { return mApp->windowController()->window()->menuBar(); }

    QMenu* menu(const QString& title) const
    {
        for (QAction* action : menuBar()->actions()) {
            if (action->text() == title)
                return action->menu();
        }
        return nullptr;
    }

    static QStringList texts(const QMenu* menu)
    {
        QStringList items;
        for (QAction* action : menu->actions())
            items << MenuMnemonics::withoutMnemonic(action->text());
        return items;
    }
};

TEST_F(TranslationsGuiTest, TheMenusAndPreferencesSpeakGermanWithOneMnemonicEachMenu)
{
    ASSERT_NE(menu(QStringLiteral("&Bearbeiten")), nullptr);
    QMenu* controls = menu(QStringLiteral("S&teuerung"));
    ASSERT_NE(controls, nullptr);
    EXPECT_TRUE(texts(controls).contains(QStringLiteral("Aufnehmen")));
    EXPECT_TRUE(texts(mApp->tapeMenu()).contains(QStringLiteral("Kassette in den Papierkorb legen")));

    // Alt and a letter must open exactly one menu.
    QList<QChar> letters;
    for (QAction* action : menuBar()->actions()) {
        const QString title = action->text();
        const qsizetype amp = title.indexOf(QLatin1Char('&'));
        ASSERT_GE(amp, 0) << title.toStdString();
        const QChar letter = title.at(amp + 1).toLower();
        EXPECT_FALSE(letters.contains(letter)) << title.toStdString();
        letters << letter;
        // And within each menu, Alt and a letter reach one item, whatever the German words.
        test::expectALetterPerItem(action->menu());
    }

    // Shortcuts keep working whatever the menu texts say.
    QMenu* file = menu(QStringLiteral("&Spindrel"));
    ASSERT_NE(file, nullptr);
    bool found = false;
    for (QAction* action : file->actions()) {
        if (MenuMnemonics::withoutMnemonic(action->text()) == QStringLiteral("Kassetten importieren…")) {
            found = true;
            EXPECT_EQ(action->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_I));
        }
    }
    EXPECT_TRUE(found) << texts(file).join(QLatin1Char('|')).toStdString();

    mApp->showPreferences();
    PreferencesWindow* window = mPreferences->window();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Einstellungen"));
    const QList<QToolBar*> bars = window->findChildren<QToolBar*>();
    ASSERT_FALSE(bars.isEmpty());
    QStringList panes;
    for (QAction* action : bars.first()->actions())
        panes << action->text();
    EXPECT_EQ(panes, (QStringList{QStringLiteral("Allgemein"), QStringLiteral("Tastenkürzel"),
                                  QStringLiteral("Audio")}));
    window->close();
}

} // namespace
