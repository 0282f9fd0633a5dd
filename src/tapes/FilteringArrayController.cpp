#include "tapes/FilteringArrayController.h"

#include "tapes/DurationFormatter.h"

#include <QLocale>
#include <QSet>
#include <algorithm>

namespace spindrel {

FilteringArrayController::FilteringArrayController(QObject* parent) : QAbstractTableModel(parent) {}

FilteringArrayController::~FilteringArrayController()
{
    for (const TapePtr& tape : std::as_const(mContent))
        tape->disconnect(this);
}

TapePtr FilteringArrayController::tapeAtRow(int row) const
{
    return row >= 0 && row < mArranged.size() ? mArranged.at(row) : nullptr;
}

void FilteringArrayController::setFilterString(const QString& filterString)
{
    mFilterString = filterString;
    Q_EMIT filterStringChanged();
    rearrangeObjects();
}

void FilteringArrayController::addObject(const TapePtr& tape)
{
    if (!mFilterString.isEmpty())
        mNewlyAdded.append(tape);
    addObjects({tape});
}

void FilteringArrayController::addObjects(const QList<TapePtr>& tapes)
{
    if (tapes.isEmpty())
        return;
    for (const TapePtr& tape : tapes) {
        mContent.append(tape);
        watchTape(tape);
    }
    rearrangeObjects();
    if (mSelectsInsertedObjects)
        setSelectedObjects(tapes);
}

void FilteringArrayController::removeObjects(const QList<TapePtr>& tapes)
{
    if (tapes.isEmpty())
        return;
    const int oldRow = selectionIndex();
    for (const TapePtr& tape : tapes) {
        if (mContent.removeOne(tape))
            tape->disconnect(this);
        mNewlyAdded.removeAll(tape);
    }
    rearrangeObjects();
    // Keep a selection when the selected tape went: its neighbour takes its place.
    if (mSelection.isEmpty() && oldRow >= 0 && !mArranged.isEmpty())
        setSelectionIndex(std::min(oldRow, int(mArranged.size()) - 1));
}

void FilteringArrayController::rearrangeObjects()
{
    beginResetModel();
    mArranged = arrangeObjects(mContent);
    endResetModel();

    QList<TapePtr> kept;
    for (const TapePtr& tape : std::as_const(mSelection)) {
        if (mArranged.contains(tape))
            kept.append(tape);
    }
    if (kept.isEmpty() && !mSelection.isEmpty() && !mArranged.isEmpty())
        kept.append(mArranged.first());
    setSelectionQuietly(kept);
}

QList<TapePtr> FilteringArrayController::arrangeObjects(const QList<TapePtr>& objects)
{
    const LibraryQuery query(mFilterString);
    QList<TapePtr> arranged;
    if (!query.isActive()) {
        mNewlyAdded.clear();
        arranged = objects;
    } else {
        for (const TapePtr& tape : objects) {
            if (query.matches(*tape))
                arranged.append(tape);
        }
        // Tapes added while searching stay visible, even when they match (and so show twice).
        arranged.append(mNewlyAdded);
    }
    // Newest first, undated last.
    std::stable_sort(arranged.begin(), arranged.end(),
                     [](const TapePtr& a, const TapePtr& b) { return a->dateSortKey() > b->dateSortKey(); });
    return arranged;
}

int FilteringArrayController::selectionIndex() const
{
    return mSelection.isEmpty() ? -1 : int(mArranged.indexOf(mSelection.first()));
}

bool FilteringArrayController::setSelectionIndex(int row)
{
    if (row < 0 || row >= mArranged.size()) {
        setSelectedObjects({});
        return false;
    }
    setSelectedObjects({mArranged.at(row)});
    return true;
}

void FilteringArrayController::setSelectedObjects(const QList<TapePtr>& tapes)
{
    QSet<const Tape*> arranged;
    for (const TapePtr& tape : std::as_const(mArranged))
        arranged.insert(tape.get());
    QList<TapePtr> selection;
    for (const TapePtr& tape : tapes) {
        if (arranged.remove(tape.get()))
            selection.append(tape);
    }
    setSelectionQuietly(selection);
}

void FilteringArrayController::setSelectionQuietly(QList<TapePtr> selection)
{
    if (selection == mSelection)
        return;
    mSelection = std::move(selection);
    Q_EMIT selectionChanged();
}

void FilteringArrayController::watchTape(const TapePtr& tape)
{
    Tape* raw = tape.get();
    connect(raw, &Tape::dateChanged, this, [this, raw] { tapeChanged(raw, true); });
    for (auto signal : {&Tape::titleChanged, &Tape::notesChanged, &Tape::tapeLetterChanged,
                        &Tape::headersChanged, &Tape::filenameChanged})
        connect(raw, signal, this, [this, raw] { tapeChanged(raw, false); });
}

void FilteringArrayController::tapeChanged(Tape* tape, bool dateChanged)
{
    if (dateChanged) {
        rearrangeObjects();
        return;
    }
    for (int row = 0; row < mArranged.size(); ++row) {
        if (mArranged.at(row).get() == tape)
            Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
    }
}

int FilteringArrayController::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(mArranged.size());
}

int FilteringArrayController::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant FilteringArrayController::data(const QModelIndex& index, int role) const
{
    const TapePtr tape = tapeAtRow(index.row());
    if (!tape)
        return {};
    if (role == TapeRole)
        return QVariant::fromValue(tape.get());
    if (role == Qt::DecorationRole && index.column() == ColorColumn)
        return tape->tapeLetter().colorScheme()->backgroundColor();
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    switch (Column(index.column())) {
    case DateColumn:
        return QLocale().toString(tape->date(), QLocale::ShortFormat);
    case DurationColumn:
        return DurationFormatter::durationToString(int(tape->duration()));
    case QualityColumn:
        return tape->quality();
    case ColorColumn:
        return tape->tapeLetter().colorScheme()->colorName();
    case LetterColumn:
        return tape->tapeLetter().letter();
    case TitleColumn:
        return tape->title();
    case ColumnCount:
        break;
    }
    return {};
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
