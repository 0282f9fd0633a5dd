#pragma once

#include "tapes/LibraryQuery.h"
#include "tapes/Tape.h"

#include <QAbstractTableModel>
#include <QList>

namespace spindrel {

/// The tape box's model: the content (every tape), and the arranged objects shown in the table:
/// the content filtered by the search query, then sorted by date, newest first. Edits of a tape's
/// date re-sort at once. Holds the selection, as objects, like the table shows it.
class FilteringArrayController : public QAbstractTableModel
{
    Q_OBJECT
    Q_PROPERTY(QString filterString READ filterString WRITE setFilterString NOTIFY filterStringChanged)

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
    static constexpr int TapeRole = Qt::UserRole + 1;

    explicit FilteringArrayController(QObject* parent = nullptr);
    ~FilteringArrayController() override;

    const QList<TapePtr>& content() const { return mContent; }
    const QList<TapePtr>& arrangedObjects() const { return mArranged; }
    TapePtr tapeAtRow(int row) const;

    const QString& filterString() const { return mFilterString; }
    void setFilterString(const QString& filterString);

    /// Adds one tape; while a search is active it stays visible whatever the query says.
    void addObject(const TapePtr& tape);
    /// Adds several tapes at once (not tracked as newly added while searching).
    void addObjects(const QList<TapePtr>& tapes);
    void removeObjects(const QList<TapePtr>& tapes);
    void removeObject(const TapePtr& tape) { removeObjects({tape}); }

    /// Filters and sorts the content again.
    void rearrangeObjects();

    QList<TapePtr> selectedObjects() const { return mSelection; }
    /// Row of the first selected tape in the arranged objects, or -1.
    int selectionIndex() const;
    bool setSelectionIndex(int row);
    void setSelectedObjects(const QList<TapePtr>& tapes);
    bool selectsInsertedObjects() const { return mSelectsInsertedObjects; }
    void setSelectsInsertedObjects(bool selects) { mSelectsInsertedObjects = selects; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void filterStringChanged();
    /// The selected objects changed (the deck loads the newly selected tape).
    void selectionChanged();

protected:
    /// Filters `objects` by the query, appends the newly added list, then sorts.
    virtual QList<TapePtr> arrangeObjects(const QList<TapePtr>& objects);

private:
    void watchTape(const TapePtr& tape);
    void tapeChanged(Tape* tape, bool dateChanged);
    void setSelectionQuietly(QList<TapePtr> selection);

    QList<TapePtr> mContent;
    QList<TapePtr> mArranged;
    QList<TapePtr> mNewlyAdded;
    QList<TapePtr> mSelection;
    QString mFilterString;
    bool mSelectsInsertedObjects = true;
};

} // namespace spindrel
