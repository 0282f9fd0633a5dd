#include "deck/DeckWindow.h"

#include "deck/DeckWidgets.h"

#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace spindrel {

namespace {

// The deck's face keeps its width; the drawer takes whatever the window has beyond it, so the
// window's width alone opens and closes the drawer.
class DeckBody : public QWidget
{
public:
    using QWidget::QWidget;
    QWidget* face = nullptr;
    QWidget* drawer = nullptr;

    QSize sizeHint() const override { return face ? face->sizeHint() : QWidget::sizeHint(); }
    QSize minimumSizeHint() const override
    {
        return face ? QSize(DeckWindow::faceWidth, face->minimumSizeHint().height()) : QSize();
    }

protected:
    void resizeEvent(QResizeEvent*) override
    {
        if (face)
            face->setGeometry(0, 0, DeckWindow::faceWidth, height());
        if (drawer) {
            const int width = this->width() - DeckWindow::faceWidth;
            drawer->setVisible(width > 0);
            drawer->setGeometry(DeckWindow::faceWidth, 0, std::max(width, 0), height());
        }
    }
};

} // namespace

DeckWindow::DeckWindow(QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Spindrel"));
    auto* central = new DeckBody(this);
    mFace = new QWidget(central);
    central->face = mFace;
    mFace->setObjectName(QStringLiteral("DeckFace"));
    mFace->setFixedWidth(faceWidth);
    auto* column = new QVBoxLayout(mFace);
    column->setContentsMargins(12, 10, 12, 10);
    column->setSpacing(8);

    mMessageStrip = new QFrame(mFace);
    mMessageStrip->setObjectName(QStringLiteral("DeckMessage"));
    mMessageStrip->setStyleSheet(
        QStringLiteral("#DeckMessage { background: #fff4c2; border: 1px solid #c9a227; border-radius: 4px; }"
                       "#DeckMessage QLabel { color: #3a2e00; }"));
    auto* messageRow = new QHBoxLayout(mMessageStrip);
    messageRow->setContentsMargins(8, 4, 4, 4);
    mMessageLabel = new QLabel(mMessageStrip);
    mMessageLabel->setWordWrap(true);
    auto* dismiss = new QToolButton(mMessageStrip);
    dismiss->setText(QStringLiteral("×"));
    dismiss->setAutoRaise(true);
    dismiss->setToolTip(tr("Dismiss"));
    connect(dismiss, &QToolButton::clicked, this, &DeckWindow::dismissMessage);
    messageRow->addWidget(mMessageLabel, 1);
    messageRow->addWidget(dismiss, 0, Qt::AlignTop);
    mMessageStrip->hide();

    mTapeView = new TapeView(mFace);
    mHUDView = new HUDView(mFace);
    mButtonView = new SegmentedTapeButtonView(mFace);

    mDrawerButton = new QToolButton(mFace);
    mDrawerButton->setObjectName(QStringLiteral("DrawerButton"));
    mDrawerButton->setText(tr("Tapes ▸"));
    mDrawerButton->setToolTip(tr("Show or hide the tape box"));
    connect(mDrawerButton, &QToolButton::clicked, this, &DeckWindow::drawerButtonPressed);

    column->addWidget(mMessageStrip);
    column->addWidget(mTapeView, 1);
    column->addWidget(mHUDView);
    column->addWidget(mButtonView);
    column->addWidget(mDrawerButton, 0, Qt::AlignRight);
    setCentralWidget(central);
}

DeckWindow::~DeckWindow() = default;

void DeckWindow::setDrawer(QWidget* drawer)
{
    mDrawer = drawer;
    auto* body = static_cast<DeckBody*>(centralWidget());
    drawer->setParent(body);
    body->drawer = drawer;
    drawer->setVisible(body->width() > faceWidth);
}

void DeckWindow::showMessage(const QString& message)
{
    mMessageLabel->setText(message);
    mMessageStrip->show();
}

QString DeckWindow::message() const
{
    return mMessageStrip->isHidden() ? QString() : mMessageLabel->text();
}

void DeckWindow::dismissMessage()
{
    mMessageStrip->hide();
    mMessageLabel->clear();
}

void DeckWindow::closeEvent(QCloseEvent* event)
{
    Q_EMIT closing();
    event->accept();
}

} // namespace spindrel
