#include "deck/DeckWindow.h"

#include "hud/DeckBackgroundView.h"
#include "hud/DrawerButton.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/SpeakerGrillView.h"
#include "hud/TapeView.h"

#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

namespace spindrel {

DeckWindow::DeckWindow(QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Spindrel"));
    mBody = new DeckBackgroundView(this);
    mBody->setDividers({86, 334, 444});
    setCentralWidget(mBody);
    mBody->setMinimumSize(faceWidth, deckHeight);
    mBody->setMaximumHeight(deckHeight);

    // The face, top to bottom: display, cassette, grilles, keys.
    mHUDView = new HUDView(mBody);
    mHUDView->setGeometry(12, 14, 366, 66);
    mTapeView = new TapeView(mBody);
    mTapeView->setGeometry(12, 92, 366, 236);
    auto* leftGrille = new SpeakerGrillView(mBody);
    leftGrille->setGeometry(12, 340, 176, 96);
    auto* rightGrille = new SpeakerGrillView(mBody);
    rightGrille->setGeometry(202, 340, 176, 96);
    mButtonView = new SegmentedTapeButtonView(mBody);
    mButtonView->setGeometry(10, 450, 370, 66);
    mDrawerButton = new DrawerButton(DrawerButton::Right, mBody);
    mDrawerButton->setObjectName(QStringLiteral("DrawerButton"));
    mDrawerButton->setToolTip(tr("Show or hide the tapes"));
    mDrawerButton->setGeometry(faceWidth - 14, 240, 14, 48);
    connect(mDrawerButton, &DrawerButton::clicked, this, &DeckWindow::drawerButtonPressed);

    mMessageStrip = new QFrame(mBody);
    mMessageStrip->setObjectName(QStringLiteral("DeckMessage"));
    mMessageStrip->setStyleSheet(
        QStringLiteral("#DeckMessage { background: rgba(255, 244, 194, 240); border: 1px solid #c9a227; "
                       "border-radius: 5px; }"
                       "#DeckMessage QLabel { color: #3a2e00; }"
                       "#DeckMessage QToolButton { color: #3a2e00; border: none; font-weight: bold; }"
                       "#DeckMessage QPushButton { color: #3a2e00; }"));
    auto* row = new QHBoxLayout(mMessageStrip);
    row->setContentsMargins(10, 6, 4, 6);
    mMessageLabel = new QLabel(mMessageStrip);
    mMessageLabel->setWordWrap(true);
    auto* dismiss = new QToolButton(mMessageStrip);
    dismiss->setText(QStringLiteral("×"));
    dismiss->setToolTip(tr("Dismiss"));
    connect(dismiss, &QToolButton::clicked, this, [this] { dismissMessage(); });
    mMessageButton = new QPushButton(mMessageStrip);
    connect(mMessageButton, &QPushButton::clicked, this, [this] {
        const std::function<void()> action = mMessageAction;
        dismissMessage();
        if (action)
            action();
    });
    row->addWidget(mMessageLabel, 1);
    row->addWidget(mMessageButton, 0, Qt::AlignVCenter);
    row->addWidget(dismiss, 0, Qt::AlignTop);
    mMessageStrip->hide();

    resize(faceWidth, deckHeight);
}

DeckWindow::~DeckWindow() = default;

void DeckWindow::setDrawer(QWidget* drawer)
{
    mDrawer = drawer;
    drawer->setParent(mBody);
    drawer->setGeometry(faceWidth, 0, drawer->width(), deckHeight);
    drawer->show();
    mDrawerButton->raise();
}

void DeckWindow::showMessage(const QString& message, const QString& actionText, std::function<void()> action)
{
    mMessageLabel->setText(message);
    mMessageAction = std::move(action);
    mMessageButton->setText(actionText);
    mMessageButton->setVisible(!actionText.isEmpty() && mMessageAction);
    placeMessage();
    mMessageStrip->show();
    mMessageStrip->raise();
}

QString DeckWindow::message() const
{
    return mMessageStrip->isHidden() ? QString() : mMessageLabel->text();
}

QPushButton* DeckWindow::messageAction() const
{
    return mMessageStrip->isHidden() || mMessageButton->isHidden() ? nullptr : mMessageButton;
}

void DeckWindow::dismissMessage()
{
    mMessageStrip->hide();
    mMessageLabel->clear();
    mMessageAction = {};
}

void DeckWindow::dismissMessage(const QString& message)
{
    if (!message.isEmpty() && this->message() == message)
        dismissMessage();
}

void DeckWindow::placeMessage()
{
    // Over the top of the cassette, where the eye is while recording.
    const int width = 366 - 16;
    const int height = mMessageStrip->heightForWidth(width);
    mMessageStrip->setGeometry(20, 100, width, height > 0 ? height : mMessageStrip->sizeHint().height());
}

void DeckWindow::closeEvent(QCloseEvent* event)
{
    Q_EMIT closing();
    event->accept();
}

void DeckWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    // The drawer is there as far as the window reaches beyond the face.
    if (mDrawer)
        mDrawer->setVisible(mBody->width() > faceWidth);
}

} // namespace spindrel
