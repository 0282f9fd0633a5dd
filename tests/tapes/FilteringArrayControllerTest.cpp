#include "tapes/FilteringArrayController.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

// Tapes whose files are never made: they load with defaults and nothing here commits them.
class FilteringArrayControllerTest : public ::testing::Test
{
protected:
    TapePtr tape(const QString& title, int day)
    {
        auto made = std::make_shared<Tape>(mDir.filePath(title + QStringLiteral(".m4a")));
        made->setTitle(title);
        // Absent notes would match every word.
        made->setNotes(QStringLiteral("-"));
        made->setDate(QDateTime(QDate(2012, 3, day), QTime(12, 0)));
        return made;
    }

    static QStringList titles(const QList<TapePtr>& tapes)
    {
        QStringList list;
        for (const TapePtr& each : tapes)
            list << each->title();
        return list;
    }
    QStringList arranged() const { return titles(mLibrary.arrangedObjects()); }
    QStringList selected() const { return titles(mLibrary.selectedObjects()); }

    void fill()
    {
        mLibrary.addObjects({tape(QStringLiteral("piano"), 1), tape(QStringLiteral("guitar"), 3),
                             tape(QStringLiteral("drums"), 2)});
    }

    QTemporaryDir mDir;
    FilteringArrayController mLibrary;
};

QStringList list(const char* words)
{
    return QString::fromLatin1(words).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

TEST_F(FilteringArrayControllerTest, ArrangesNewestFirstFiltersByTheQueryAndReSortsOnADateEdit)
{
    fill();
    EXPECT_EQ(arranged(), list("guitar drums piano"));
    EXPECT_EQ(mLibrary.content().size(), 3);
    EXPECT_EQ(mLibrary.data(mLibrary.index(1, FilteringArrayController::TitleColumn)).toString(),
              QStringLiteral("drums"));

    mLibrary.tapeAtRow(2)->setDate(QDateTime(QDate(2012, 3, 9), QTime(12, 0)));
    EXPECT_EQ(arranged(), list("piano guitar drums"));
    mLibrary.addObject(tape(QStringLiteral("undated"), 1));
    mLibrary.tapeAtRow(mLibrary.selectionIndex())->setDate({});
    EXPECT_EQ(arranged(), list("piano guitar drums undated")) << "undated last";

    QSignalSpy filterChanged(&mLibrary, &FilteringArrayController::filterStringChanged);
    mLibrary.setFilterString(QStringLiteral("r | piano"));
    EXPECT_EQ(arranged(), list("piano guitar drums"));
    mLibrary.setFilterString(QStringLiteral("nothing"));
    EXPECT_EQ(mLibrary.rowCount(), 0);
    EXPECT_EQ(mLibrary.tapeAtRow(0), nullptr);
    mLibrary.setFilterString(QString());
    EXPECT_EQ(mLibrary.rowCount(), 4);
    EXPECT_EQ(filterChanged.size(), 3);

    mLibrary.removeObjects({mLibrary.tapeAtRow(0), mLibrary.tapeAtRow(2)});
    EXPECT_EQ(arranged(), list("guitar undated"));
    EXPECT_EQ(mLibrary.content().size(), 2);
}

TEST_F(FilteringArrayControllerTest, TapesAddedOrEditedWhileSearchingStayUntilTheSearchIsCleared)
{
    fill();
    mLibrary.setFilterString(QStringLiteral("piano"));
    const TapePtr added = tape(QStringLiteral("bass"), 5);
    mLibrary.addObject(added);
    EXPECT_EQ(arranged(), list("bass piano"));
    EXPECT_EQ(mLibrary.selectedObjects(), QList<TapePtr>{added});
    // Several at once are not kept in view, and a hidden tape is not selected.
    mLibrary.addObjects({tape(QStringLiteral("flute"), 6)});
    EXPECT_EQ(arranged(), list("bass piano"));
    EXPECT_TRUE(mLibrary.selectedObjects().isEmpty());

    // The tape being edited stays in the list and selected, though it no longer matches.
    mLibrary.setSelectionIndex(1);
    QSignalSpy selection(&mLibrary, &FilteringArrayController::selectionChanged);
    mLibrary.tapeAtRow(1)->setTitle(QStringLiteral("organ"));
    EXPECT_EQ(arranged(), list("bass organ"));
    EXPECT_EQ(selected(), list("organ"));
    EXPECT_TRUE(selection.isEmpty());

    // Another query keeps them; only clearing the field lets them go.
    mLibrary.setFilterString(QStringLiteral("guitar"));
    EXPECT_EQ(arranged(), list("bass guitar organ"));
    mLibrary.setFilterString(QString());
    mLibrary.setFilterString(QStringLiteral("guitar"));
    EXPECT_EQ(arranged(), list("guitar"));
}

TEST_F(FilteringArrayControllerTest, OneSelectionSharedWithItsSelectionModelAndAnnouncedOncePerChange)
{
    QSignalSpy selection(&mLibrary, &FilteringArrayController::selectionChanged);
    fill();
    EXPECT_EQ(selected(), list("guitar drums piano")) << "added tapes are selected";
    EXPECT_EQ(selection.size(), 1);
    EXPECT_EQ(mLibrary.selectionIndex(), 0);

    EXPECT_TRUE(mLibrary.setSelectionIndex(1));
    EXPECT_EQ(selected(), list("drums"));
    EXPECT_EQ(mLibrary.selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(mLibrary.selectionModel()->currentIndex().row(), 1);
    // Choosing through the selection model, as a click does, is choosing the tape.
    mLibrary.selectionModel()->select(mLibrary.index(2, 0),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    EXPECT_EQ(selected(), list("piano"));
    EXPECT_EQ(selection.size(), 3);
    mLibrary.setSelectionIndex(2);
    EXPECT_EQ(selection.size(), 3) << "the same tape again is no change";

    // Re-sorting moves the selected row with its tape.
    mLibrary.tapeAtRow(2)->setDate(QDateTime(QDate(2012, 3, 9), QTime(12, 0)));
    EXPECT_EQ(mLibrary.selectionIndex(), 0);
    EXPECT_EQ(selected(), list("piano"));

    // When the selected tape leaves the list, the newest shown takes its place in one change.
    mLibrary.setFilterString(QStringLiteral("r"));
    EXPECT_EQ(selected(), list("guitar"));
    EXPECT_EQ(selection.size(), 4);
    mLibrary.setFilterString(QString());
    mLibrary.setSelectedObjects({mLibrary.tapeAtRow(2)});
    EXPECT_EQ(selected(), list("drums"));
    mLibrary.removeObject(mLibrary.tapeAtRow(2));
    EXPECT_EQ(selected(), list("piano"));
    EXPECT_EQ(selection.size(), 6);

    EXPECT_FALSE(mLibrary.setSelectionIndex(5));
    EXPECT_TRUE(mLibrary.selectedObjects().isEmpty());
    EXPECT_EQ(mLibrary.selectionIndex(), -1);
    EXPECT_EQ(selection.size(), 7);
    // With nothing selected, a search selects nothing either.
    mLibrary.setFilterString(QStringLiteral("guitar"));
    EXPECT_EQ(mLibrary.selectionIndex(), -1);
}
