#include "tapes/TapeListModel.h"

#include "tapes/DurationFormatter.h"

#include <QLocale>
#include <QSet>
#include <algorithm>

namespace spindrel {

TapeListModel::TapeListModel(QObject* parent) : QAbstractTableModel(parent) {}

TapeListModel::~TapeListModel()
{
    for (const TapePtr& tape : std::as_const(mTapes))
        tape->disconnect(this);
}

TapePtr TapeListModel::tapeAtRow(int row) const
{
    return row >= 0 && row < mTapes.size() ? mTapes.at(row) : nullptr;
}

void TapeListModel::append(const QList<TapePtr>& tapes)
{
    if (tapes.isEmpty())
        return;
    const int first = int(mTapes.size());
    beginInsertRows({}, first, first + int(tapes.size()) - 1);
    mTapes.append(tapes);
    for (const TapePtr& tape : tapes)
        mDateSortKeys.append(tape->dateSortKey());
    endInsertRows();
    for (const TapePtr& tape : tapes)
        watchTape(tape.get());
}

void TapeListModel::remove(const QList<TapePtr>& tapes)
{
    QSet<const Tape*> leaving;
    for (const TapePtr& tape : tapes)
        leaving.insert(tape.get());
    // From the end, one run of neighbouring rows at a time, so the rows still to go keep their numbers.
    for (int last = int(mTapes.size()) - 1; last >= 0; --last) {
        if (!leaving.contains(mTapes.at(last).get()))
            continue;
        int first = last;
        while (first > 0 && leaving.contains(mTapes.at(first - 1).get()))
            --first;
        beginRemoveRows({}, first, last);
        for (int row = first; row <= last; ++row)
            mTapes.at(row)->disconnect(this);
        mTapes.remove(first, last - first + 1);
        mDateSortKeys.remove(first, last - first + 1);
        endRemoveRows();
        last = first;
    }
}

void TapeListModel::watchTape(Tape* tape)
{
    for (auto signal : {&Tape::dateChanged, &Tape::titleChanged, &Tape::notesChanged,
                        &Tape::tapeLetterChanged, &Tape::headersChanged, &Tape::filenameChanged})
        connect(tape, signal, this, [this, tape] { tapeChanged(tape); });
}

void TapeListModel::tapeChanged(const Tape* tape)
{
    const auto found = std::find_if(mTapes.cbegin(), mTapes.cend(),
                                    [tape](const TapePtr& candidate) { return candidate.get() == tape; });
    if (found == mTapes.cend())
        return;
    const int row = int(found - mTapes.cbegin());
    Q_EMIT tapeAboutToChange(row);
    mDateSortKeys[row] = tape->dateSortKey();
    Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

QModelIndex TapeListModel::index(int row, int column, const QModelIndex& parent) const
{
    // Without the base's checks through rowCount and columnCount: sorting asks for an index per
    // comparison.
    if (parent.isValid() || row < 0 || row >= mTapes.size() || column < 0 || column >= ColumnCount)
        return {};
    return createIndex(row, column);
}

int TapeListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(mTapes.size());
}

int TapeListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TapeListModel::data(const QModelIndex& index, int role) const
{
    const TapePtr tape = tapeAtRow(index.row());
    if (!tape)
        return {};
    if (role == TapeRole)
        return QVariant::fromValue(tape.get());
    if (role == DateSortRole)
        return tape->dateSortKey();
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

} // namespace spindrel
