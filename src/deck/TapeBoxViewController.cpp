#include "deck/TapeBoxViewController.h"

#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QLabel>
#include <algorithm>

namespace spindrel {

TapeBoxViewController::TapeBoxViewController(TapeLibraryArrayController& library, QWidget* parent)
    : QWidget(parent), mLibrary(library)
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

    mStatus = new QLabel(this);
    mStatus->setObjectName(QStringLiteral("TapeBoxStatus"));
    mStatus->setGeometry(12, 518, 212, 18);
    mStatus->setAlignment(Qt::AlignCenter);
    mStatus->hide();
    // A search that finds nothing says so, rather than leaving an empty list.
    mEmptyNotice = new QLabel(tr("No tapes match"), mTableView->viewport());
    mEmptyNotice->setObjectName(QStringLiteral("TapeBoxEmptyNotice"));
    mEmptyNotice->setAlignment(Qt::AlignCenter);
    mEmptyNotice->setGeometry(0, 24, 212, 24);
    mEmptyNotice->hide();
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&library, signal, this, &TapeBoxViewController::updateEmptyNotice);
    connect(&library, &QAbstractItemModel::modelReset, this, &TapeBoxViewController::updateEmptyNotice);
    // Re-arranging may change the number of rows in a layout change.
    connect(&library, &QAbstractItemModel::layoutChanged, this, &TapeBoxViewController::updateEmptyNotice);
    connect(&library, &FilteringArrayController::filterStringChanged, this,
            &TapeBoxViewController::updateEmptyNotice);
}

void TapeBoxViewController::setStatus(const QString& text)
{
    mStatus->setText(text);
    mStatus->setVisible(!text.isEmpty());
}

QString TapeBoxViewController::status() const
{
    return mStatus->isHidden() ? QString() : mStatus->text();
}

void TapeBoxViewController::updateEmptyNotice()
{
    const bool searching = !mLibrary.filterString().trimmed().isEmpty();
    mEmptyNotice->setVisible(searching && mLibrary.rowCount() == 0);
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
    mStatus->setGeometry(12, height() - 22, 212, 18);
}

void TapeBoxViewController::selectRow(int row)
{
    mTableView->selectRow(row);
}

} // namespace spindrel
