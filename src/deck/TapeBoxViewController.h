#pragma once

#include "tapes/Tape.h"

#include <QWidget>

class QLineEdit;
class QTableView;

namespace spindrel {

class TapeLibraryArrayController;

/// The tape box: the drawer beside the deck with the search field over the library's list.
/// Keeps the list's selection and the library's in step, and asks for a context menu on a
/// right click (with the clicked tape, or none between tapes).
class TapeBoxViewController : public QWidget
{
    Q_OBJECT

public:
    static constexpr int drawerWidth = 236;

    TapeBoxViewController(TapeLibraryArrayController& library, QWidget* parent = nullptr);
    ~TapeBoxViewController() override;

    QLineEdit* searchField() const { return mSearchField; }
    QTableView* tableView() const { return mTableView; }

    /// While recording the list cannot be used to load another tape.
    void setRecording(bool recording);
    bool isRecording() const { return mRecording; }

    /// Selects `row` and shows it.
    void selectRow(int row);

Q_SIGNALS:
    /// The user asked for the search (typed into the field).
    void searchRequested();
    void contextMenuRequested(const spindrel::TapePtr& tape, const QPoint& globalPosition);

private:
    void librarySelectionChanged();
    void tableSelectionChanged();

    TapeLibraryArrayController& mLibrary;
    QLineEdit* mSearchField = nullptr;
    QTableView* mTableView = nullptr;
    bool mRecording = false;
    bool mSyncing = false;
};

} // namespace spindrel
