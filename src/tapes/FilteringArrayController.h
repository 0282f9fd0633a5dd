#pragma once

#include "tapes/LibraryQuery.h"
#include "tapes/TapeListModel.h"

#include <QItemSelectionModel>
#include <QList>
#include <QSet>
#include <QSortFilterProxyModel>
#include <functional>

namespace spindrel {

/// The tape box's model: the content (every tape) arranged for the table, that is filtered by the
/// search query and sorted by date, newest first. A date edit re-sorts at once. Its selection
/// model is the one selection of the tape box.
class FilteringArrayController : public QSortFilterProxyModel
{
    Q_OBJECT
    Q_PROPERTY(QString filterString READ filterString WRITE setFilterString NOTIFY filterStringChanged)

public:
    using Column = TapeListModel::Column;
    using enum TapeListModel::Column;
    static constexpr int TapeRole = TapeListModel::TapeRole;

    explicit FilteringArrayController(QObject* parent = nullptr);
    ~FilteringArrayController() override;

    const QList<TapePtr>& content() const { return mContent.tapes(); }
    /// The tapes in the table's order.
    QList<TapePtr> arrangedObjects() const;
    TapePtr tapeAtRow(int row) const;

    const QString& filterString() const { return mFilterString; }
    void setFilterString(const QString& filterString);

    /// Adds one tape and selects it; while a search is active it stays visible whatever the query
    /// says, until the search is cleared.
    void addObject(const TapePtr& tape);
    /// Adds several tapes at once and selects those shown.
    void addObjects(const QList<TapePtr>& tapes);
    void removeObjects(const QList<TapePtr>& tapes);
    void removeObject(const TapePtr& tape) { removeObjects({tape}); }

    /// Filters and sorts the content again.
    void rearrangeObjects();

    QItemSelectionModel* selectionModel() { return &mSelection; }
    /// The selected tapes, in the table's order.
    QList<TapePtr> selectedObjects() const;
    /// Row of the first selected tape, or -1.
    int selectionIndex() const;
    /// Selects one row; a row out of range clears the selection and returns false.
    bool setSelectionIndex(int row);
    /// Selects those of the tapes that are shown.
    void setSelectedObjects(const QList<TapePtr>& tapes);

    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void filterStringChanged();
    /// The selected tapes changed (the deck loads the newly selected tape); once per change of the
    /// rows, however many steps the selection model took.
    void selectionChanged();

protected:
    /// Adds tapes without touching the selection.
    void insertObjects(const QList<TapePtr>& tapes);

    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    /// Runs a change of the rows and of the selection, then tells of the selection once if it
    /// changed.
    void changeRows(const std::function<void()>& change);
    /// When a change took every selected tape out of the table, the newest shown tape is selected.
    void keepASelection(bool hadSelection);
    void select(const QItemSelection& rows);
    void tapeAboutToChange(int sourceRow);

    TapeListModel mContent;
    QItemSelectionModel mSelection;
    QString mFilterString;
    LibraryQuery mQuery;
    /// Tapes added or edited while searching, shown whatever the query says until it is cleared.
    QSet<const Tape*> mPinned;
    int mChangingRows = 0;
};

} // namespace spindrel
