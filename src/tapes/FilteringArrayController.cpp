#include "tapes/FilteringArrayController.h"

#include <algorithm>

namespace spindrel {

FilteringArrayController::FilteringArrayController(QObject* parent)
    : QSortFilterProxyModel(parent), mSelection(this)
{
    setSourceModel(&mContent);
    setSortRole(TapeListModel::DateSortRole);
    // Edits re-sort and re-filter their row at once; the pins keep an edited tape in view.
    setDynamicSortFilter(true);
    sort(DateColumn, Qt::DescendingOrder);
    connect(&mContent, &TapeListModel::tapeAboutToChange, this, &FilteringArrayController::tapeAboutToChange);
    connect(&mSelection, &QItemSelectionModel::selectionChanged, this, [this] {
        if (mChangingRows == 0)
            Q_EMIT selectionChanged();
    });
}

FilteringArrayController::~FilteringArrayController()
{
    // The content goes before the proxy's own teardown, which must not map rows over it.
    setSourceModel(nullptr);
}

QList<TapePtr> FilteringArrayController::arrangedObjects() const
{
    QList<TapePtr> arranged;
    arranged.reserve(rowCount());
    for (int row = 0; row < rowCount(); ++row)
        arranged.append(tapeAtRow(row));
    return arranged;
}

TapePtr FilteringArrayController::tapeAtRow(int row) const
{
    if (row < 0 || row >= rowCount())
        return nullptr;
    return mContent.tapeAtRow(mapToSource(index(row, 0)).row());
}

void FilteringArrayController::setFilterString(const QString& filterString)
{
    mFilterString = filterString;
    mQuery = LibraryQuery(filterString);
    if (!mQuery.isActive())
        mPinned.clear();
    Q_EMIT filterStringChanged();
    changeRows([this] {
        const bool selected = mSelection.hasSelection();
        invalidate();
        keepASelection(selected);
    });
}

void FilteringArrayController::addObject(const TapePtr& tape)
{
    if (!mFilterString.isEmpty())
        mPinned.insert(tape.get());
    addObjects({tape});
}

void FilteringArrayController::addObjects(const QList<TapePtr>& tapes)
{
    if (tapes.isEmpty())
        return;
    changeRows([&] {
        mContent.append(tapes);
        setSelectedObjects(tapes);
    });
}

void FilteringArrayController::insertObjects(const QList<TapePtr>& tapes)
{
    changeRows([&] { mContent.append(tapes); });
}

void FilteringArrayController::removeObjects(const QList<TapePtr>& tapes)
{
    if (tapes.isEmpty())
        return;
    changeRows([&] {
        for (const TapePtr& tape : tapes)
            mPinned.remove(tape.get());
        const bool selected = mSelection.hasSelection();
        mContent.remove(tapes);
        keepASelection(selected);
    });
}

void FilteringArrayController::rearrangeObjects()
{
    changeRows([this] {
        const bool selected = mSelection.hasSelection();
        invalidate();
        keepASelection(selected);
    });
}

void FilteringArrayController::changeRows(const std::function<void()>& change)
{
    const QList<TapePtr> before = selectedObjects();
    ++mChangingRows;
    change();
    --mChangingRows;
    if (mChangingRows == 0 && selectedObjects() != before)
        Q_EMIT selectionChanged();
}

void FilteringArrayController::keepASelection(bool hadSelection)
{
    if (hadSelection && !mSelection.hasSelection() && rowCount() > 0)
        setSelectionIndex(0);
}

QList<TapePtr> FilteringArrayController::selectedObjects() const
{
    QList<int> rows;
    for (const QModelIndex& index : mSelection.selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    QList<TapePtr> tapes;
    tapes.reserve(rows.size());
    for (const int row : std::as_const(rows))
        tapes.append(tapeAtRow(row));
    return tapes;
}

int FilteringArrayController::selectionIndex() const
{
    int first = -1;
    for (const QModelIndex& index : mSelection.selectedRows()) {
        if (first < 0 || index.row() < first)
            first = index.row();
    }
    return first;
}

bool FilteringArrayController::setSelectionIndex(int row)
{
    if (row < 0 || row >= rowCount()) {
        select({});
        return false;
    }
    select(QItemSelection(index(row, 0), index(row, ColumnCount - 1)));
    return true;
}

void FilteringArrayController::setSelectedObjects(const QList<TapePtr>& tapes)
{
    QSet<const Tape*> wanted;
    for (const TapePtr& tape : tapes)
        wanted.insert(tape.get());
    QItemSelection rows;
    for (int row = 0; row < rowCount() && !wanted.isEmpty(); ++row) {
        if (wanted.remove(tapeAtRow(row).get()))
            rows.merge(QItemSelection(index(row, 0), index(row, ColumnCount - 1)),
                       QItemSelectionModel::Select);
    }
    select(rows);
}

void FilteringArrayController::select(const QItemSelection& rows)
{
    mSelection.select(rows, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    // Keyboard moves in the table go on from the selected row.
    const QModelIndex current = rows.isEmpty() ? QModelIndex() : QModelIndex(rows.first().topLeft());
    mSelection.setCurrentIndex(current, QItemSelectionModel::NoUpdate);
}

void FilteringArrayController::tapeAboutToChange(int sourceRow)
{
    if (!mQuery.isActive())
        return;
    // Edited while searching, a shown tape stays where the user is working on it.
    if (mapFromSource(mContent.index(sourceRow, 0)).isValid())
        mPinned.insert(mContent.tapeAtRow(sourceRow).get());
}

bool FilteringArrayController::filterAcceptsRow(int sourceRow, const QModelIndex&) const
{
    if (!mQuery.isActive())
        return true;
    const Tape& tape = *mContent.tapes().at(sourceRow);
    return mPinned.contains(&tape) || mQuery.matches(tape);
}

bool FilteringArrayController::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    // Sorted descending: newest first, undated last.
    return mContent.dateSortKeyAtRow(left.row()) < mContent.dateSortKeyAtRow(right.row());
}

QVariant FilteringArrayController::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (Column(section)) {
    case DateColumn:
        return tr("Date");
    case DurationColumn:
        return tr("Length");
    case QualityColumn:
        return tr("Quality");
    case ColorColumn:
        return tr("Color");
    case LetterColumn:
        return tr("Letter");
    case TitleColumn:
        return tr("Title");
    case ColumnCount:
        break;
    }
    return {};
}

} // namespace spindrel
