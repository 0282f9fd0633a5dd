#pragma once

#include <QWidget>

class QLabel;

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

    /// A line under the list about work under way (loading, saving); empty hides it.
    void setStatus(const QString& text);
    QString status() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void updateEmptyNotice();

    TapeLibraryArrayController& mLibrary;
    QLabel* mStatus = nullptr;
    QLabel* mEmptyNotice = nullptr;
    TapeBoxSearchField* mSearchField = nullptr;
    TapeBoxView* mTableView = nullptr;
};

} // namespace spindrel
