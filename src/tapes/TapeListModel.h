#pragma once

#include "tapes/Tape.h"

#include <QAbstractTableModel>
#include <QList>

namespace spindrel {

/// The library's tapes as a table, one row per tape in the order they came in. A tape's edits
/// show at once as a change of its row.
class TapeListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column {
        DateColumn,
        DurationColumn,
        QualityColumn,
        ColorColumn,
        LetterColumn,
        TitleColumn,
        ColumnCount
    };
    enum Role {
        TapeRole = Qt::UserRole + 1, // the Tape*, for the delegate
        DateSortRole,                // the tape's date sort key
    };

    explicit TapeListModel(QObject* parent = nullptr);
    ~TapeListModel() override;

    const QList<TapePtr>& tapes() const { return mTapes; }
    TapePtr tapeAtRow(int row) const;
    /// The tape's date sort key (undated sorts first).
    qint64 dateSortKeyAtRow(int row) const { return mDateSortKeys.at(row); }

    void append(const QList<TapePtr>& tapes);
    void remove(const QList<TapePtr>& tapes);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    /// Sent just before the row of an edited tape changes, while views still show it as it was.
    void tapeAboutToChange(int row);

private:
    void watchTape(Tape* tape);
    void tapeChanged(const Tape* tape);

    QList<TapePtr> mTapes;
    // Beside the tapes, so that sorting thousands of them reads one array instead of every tape.
    QList<qint64> mDateSortKeys;
};

} // namespace spindrel
