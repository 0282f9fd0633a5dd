#include "deck/TapeBoxViewController.h"

#include "tapes/TapeLibraryArrayController.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QTableView>
#include <QVBoxLayout>

namespace spindrel {

TapeBoxViewController::TapeBoxViewController(TapeLibraryArrayController& library, QWidget* parent)
    : QWidget(parent), mLibrary(library)
{
    setObjectName(QStringLiteral("TapeBox"));
    mSearchField = new QLineEdit(this);
    mSearchField->setObjectName(QStringLiteral("TapeBoxSearchField"));
    mSearchField->setPlaceholderText(tr("Search"));
    mSearchField->setClearButtonEnabled(true);
    connect(mSearchField, &QLineEdit::textChanged, this, &TapeBoxViewController::searchRequested);

    mTableView = new QTableView(this);
    mTableView->setObjectName(QStringLiteral("TapeBoxTable"));
    mTableView->setModel(&mLibrary);
    mTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    mTableView->setSelectionMode(QAbstractItemView::SingleSelection);
    mTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    mTableView->setDragEnabled(true);
    mTableView->setAcceptDrops(true);
    mTableView->setDragDropMode(QAbstractItemView::DragDrop);
    mTableView->setDefaultDropAction(Qt::CopyAction);
    mTableView->setShowGrid(false);
    mTableView->setAlternatingRowColors(true);
    mTableView->verticalHeader()->hide();
    mTableView->horizontalHeader()->setStretchLastSection(true);
    mTableView->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(mTableView, &QTableView::customContextMenuRequested, this, [this](const QPoint& point) {
        const TapePtr tape = mLibrary.tapeAtRow(mTableView->indexAt(point).row());
        Q_EMIT contextMenuRequested(tape, mTableView->viewport()->mapToGlobal(point));
    });
    connect(mTableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TapeBoxViewController::tableSelectionChanged);
    connect(&mLibrary, &TapeLibraryArrayController::selectionChanged, this,
            &TapeBoxViewController::librarySelectionChanged);
    // A reset of the model drops the view's selection; put the library's back.
    connect(&mLibrary, &QAbstractItemModel::modelReset, this,
            &TapeBoxViewController::librarySelectionChanged);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 10, 10, 10);
    layout->addWidget(mSearchField);
    layout->addWidget(mTableView, 1);
    librarySelectionChanged();
}

TapeBoxViewController::~TapeBoxViewController() = default;

void TapeBoxViewController::setRecording(bool recording)
{
    mRecording = recording;
    mTableView->setEnabled(!recording);
}

void TapeBoxViewController::selectRow(int row)
{
    mLibrary.setSelectionIndex(row);
    if (row >= 0 && row < mLibrary.rowCount())
        mTableView->scrollTo(mLibrary.index(row, 0));
}

void TapeBoxViewController::librarySelectionChanged()
{
    if (mSyncing)
        return;
    mSyncing = true;
    const int row = mLibrary.selectionIndex();
    if (row < 0) {
        mTableView->clearSelection();
    } else {
        mTableView->selectRow(row);
        mTableView->scrollTo(mLibrary.index(row, 0));
    }
    mSyncing = false;
}

void TapeBoxViewController::tableSelectionChanged()
{
    if (mSyncing)
        return;
    mSyncing = true;
    const QModelIndexList rows = mTableView->selectionModel()->selectedRows();
    mLibrary.setSelectionIndex(rows.isEmpty() ? -1 : rows.first().row());
    mSyncing = false;
}

} // namespace spindrel
