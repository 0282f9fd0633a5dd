#include "deck/TapeBoxViewController.h"

#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <algorithm>

namespace spindrel {

TapeBoxViewController::TapeBoxViewController(TapeLibraryArrayController& library, QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("TapeBox"));
    resize(drawerWidth, 540);
    mSearchField = new TapeBoxSearchField(this);
    mSearchField->setObjectName(QStringLiteral("TapeBoxSearchField"));
    mSearchField->setGeometry(12, 16, 212, 24);
    mTableView = new TapeBoxView(this);
    mTableView->setObjectName(QStringLiteral("TapeBoxTable"));
    mTableView->setGeometry(12, 50, 212, 466);
    mTableView->setLibrary(&library);
    // The list's first row, the newest tape, is where the deck starts.
    mTableView->selectRow(0);
}

TapeBoxViewController::~TapeBoxViewController() = default;

void TapeBoxViewController::setRecording(bool recording)
{
    mTableView->setRecording(recording);
}

bool TapeBoxViewController::isRecording() const
{
    return mTableView->isRecording();
}

void TapeBoxViewController::resizeEvent(QResizeEvent*)
{
    // The list takes the height a short deck leaves it.
    mTableView->setGeometry(12, 50, 212, std::max(0, height() - 74));
}

void TapeBoxViewController::selectRow(int row)
{
    mTableView->selectRow(row);
}

} // namespace spindrel
