#include "hud/TapeBoxView.h"

#include "hud/MenuLetters.h"
#include "hud/MenuMnemonics.h"
#include "hud/TestTapes.h"
#include "tapes/FilteringArrayController.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

class TapeBoxViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(tapes.isValid());
        const QStringList titles = {QStringLiteral("Apple session"), QStringLiteral("Banana session"),
                                    QStringLiteral("Cherry session")};
        for (int day = 1; day <= 3; ++day)
            library.addObjects({tapes.make(titles[day - 1], QDateTime(QDate(2020, 5, day), QTime(9, 0)),
                                           QStringLiteral("Kept in the box"))});
        box.setLibrary(&library);
        box.resize(236, 200);
        box.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&box));
    }

    QPoint rowPoint(int row) const
    {
        return box.visualRect(library.index(row, FilteringArrayController::TitleColumn)).center();
    }

    static QStringList texts(const QMenu& menu)
    {
        QStringList list;
        for (const QAction* action : menu.actions())
            list << MenuMnemonics::withoutMnemonic(action->text());
        return list;
    }

    test::TestTapes tapes;
    FilteringArrayController library;
    TapeBoxView box;
};

} // namespace

TEST_F(TapeBoxViewTest, ContextMenuOffersTheLibraryOrTheClickedTape)
{
    const std::unique_ptr<QMenu> none = box.contextMenuForTape(nullptr);
    EXPECT_EQ(texts(*none), QStringList{QStringLiteral("Open Library Folder")});

    // Rows are newest first; the clicked tape need not be the selected one.
    library.setSelectionIndex(0);
    const TapePtr clicked = box.tapeAt(rowPoint(2));
    ASSERT_TRUE(clicked);
    EXPECT_EQ(clicked->title(), QStringLiteral("Apple session"));
    const std::unique_ptr<QMenu> menu = box.contextMenuForTape(clicked);
    EXPECT_EQ(texts(*menu),
              (QStringList{QStringLiteral("Show in Folder"), QStringLiteral("Move Tape to Trash"),
                           QStringLiteral("Email Tape…"), QStringLiteral("Add Tape to Music Library"),
                           QStringLiteral("Send to YouTube…")}));

    // The deck's tests choose the clicked tape's items; the library's item names no tape.
    QSignalSpy triggered(&box, &TapeBoxView::menuActionTriggered);
    none->actions().at(0)->trigger();
    ASSERT_EQ(triggered.size(), 1);
    EXPECT_EQ(triggered.at(0).at(0).value<TapeBoxView::MenuAction>(), TapeBoxView::OpenLibraryFolder);
    EXPECT_EQ(triggered.at(0).at(1).value<TapePtr>(), nullptr);
}

TEST_F(TapeBoxViewTest, SelectionIsTheLibrarysAndClicksChangeItExceptWhileRecording)
{
    EXPECT_EQ(box.selectionModel(), library.selectionModel());
    library.setSelectionIndex(1);
    ASSERT_EQ(box.selectionModel()->selectedRows(FilteringArrayController::TitleColumn).size(), 1);
    EXPECT_EQ(box.selectionModel()->selectedRows(FilteringArrayController::TitleColumn).first().row(), 1);

    QSignalSpy selection(&library, &FilteringArrayController::selectionChanged);
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, rowPoint(2));
    EXPECT_EQ(library.selectionIndex(), 2);
    EXPECT_GE(selection.size(), 1);

    // A search re-arranges the rows; the table shows the library's selection where it now is.
    const auto selectedRow = [this] {
        const QModelIndexList rows =
            box.selectionModel()->selectedRows(FilteringArrayController::TitleColumn);
        return rows.size() == 1 ? rows.first().row() : -1;
    };
    library.setFilterString(QStringLiteral("Apple"));
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_EQ(library.tapeAtRow(0)->title(), QStringLiteral("Apple session"));
    EXPECT_EQ(library.rowCount(), 1);
    library.setFilterString(QStringLiteral("Cherry"));
    EXPECT_EQ(selectedRow(), library.selectionIndex());
    library.setFilterString(QString());
    EXPECT_EQ(selectedRow(), 0);

    // Clicks do not change the selection while recording.
    box.setRecording(true);
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, rowPoint(2));
    EXPECT_EQ(library.selectionIndex(), 0);
    box.setRecording(false);
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, rowPoint(2));
    EXPECT_EQ(library.selectionIndex(), 2);
}

TEST_F(TapeBoxViewTest, ShiftF10OrTheMenuKeyOpenTheMenuAtTheSelectedTape)
{
    // Delete is the deck's keyboard test, which trashes the file.
    box.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
    box.setFocus();
    library.setSelectionIndex(1);
    const TapePtr selected = library.tapeAtRow(1);
    QSignalSpy triggered(&box, &TapeBoxView::menuActionTriggered);

    const QRect row = box.visualRect(library.index(1, FilteringArrayController::TitleColumn));
    const QRect rowOnScreen(box.viewport()->mapToGlobal(row.topLeft()), row.size());
    const std::pair<Qt::Key, Qt::KeyboardModifier> openers[] = {{Qt::Key_F10, Qt::ShiftModifier},
                                                                {Qt::Key_Menu, Qt::NoModifier}};
    for (const auto& [key, modifier] : openers) {
        QTest::keyClick(&box, key, modifier);
        QMenu* menu = nullptr;
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return (menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) != nullptr; },
            10000))
            << key;
        EXPECT_TRUE(rowOnScreen.contains(menu->geometry().topLeft())) << key;
        EXPECT_EQ(texts(*menu), texts(*box.contextMenuForTape(selected))) << "the selected tape's menu";
        test::expectALetterPerItem(menu);
        if (key == Qt::Key_Menu) {
            // The trash item's letter chooses it.
            const QChar trash = MenuMnemonics::mnemonic(menu->actions().at(1)->text());
            QTest::keyClick(menu, trash.toLatin1());
        } else {
            QTest::keyClick(menu, Qt::Key_Escape);
        }
        ASSERT_TRUE(QTest::qWaitFor([] { return QApplication::activePopupWidget() == nullptr; }, 10000));
    }
    ASSERT_EQ(triggered.size(), 1);
    EXPECT_EQ(triggered.at(0).at(0).value<TapeBoxView::MenuAction>(), TapeBoxView::MoveTapeToTrash);
    EXPECT_EQ(triggered.at(0).at(1).value<TapePtr>(), selected);
}
