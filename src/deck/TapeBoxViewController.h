#pragma once

#include <QWidget>

namespace spindrel {

class TapeBoxSearchField;
class TapeBoxView;
class TapeLibraryArrayController;

/// The tape box: the drawer beside the deck with the search field over the library's list.
class TapeBoxViewController : public QWidget
{
    Q_OBJECT

public:
    static constexpr int drawerWidth = 236;

    TapeBoxViewController(TapeLibraryArrayController& library, QWidget* parent = nullptr);
    ~TapeBoxViewController() override;

    TapeBoxSearchField* searchField() const { return mSearchField; }
    TapeBoxView* tableView() const { return mTableView; }

    /// While recording the list cannot be used to load another tape.
    void setRecording(bool recording);
    bool isRecording() const;

    /// Selects `row` (the library's selection follows) and shows it.
    void selectRow(int row);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    TapeBoxSearchField* mSearchField = nullptr;
    TapeBoxView* mTableView = nullptr;
};

} // namespace spindrel
