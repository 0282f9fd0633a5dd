#include "deck/DeckWindow.h"

#include "hud/DeckBackgroundView.h"
#include "hud/DeckPainting.h"
#include "hud/DrawerButton.h"
#include "hud/HUDView.h"
#include "hud/LayerCache.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/SpeakerGrillView.h"
#include "hud/TapeView.h"

#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QResizeEvent>
#include <QToolButton>
#include <algorithm>
#include <cmath>

namespace spindrel {

namespace {

/// The metal around the deck when the window is larger than it, painted to every edge.
class DeckBackdrop : public QWidget
{
public:
    DeckBackdrop(std::function<void()> resized, QWidget* parent)
        : QWidget(parent), mResized(std::move(resized))
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMinimumSize(DeckWindow::faceWidth, DeckWindow::minimumDeckHeight);
    }
    QSize sizeHint() const override { return {DeckWindow::faceWidth, DeckWindow::deckHeight}; }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QPainter painter(this);
        mMetal.paint(painter, event->rect(), size(), devicePixelRatioF(), [this](QPainter& metal) {
            DeckPainting::drawBrushedMetal(metal, rect(), QColor(44, 46, 50));
        });
    }
    void resizeEvent(QResizeEvent*) override { mResized(); }

private:
    std::function<void()> mResized;
    LayerCache mMetal;
};

// The face at full height, top to bottom: the display keeps its size; below it the cassette,
// the grilles and the keys shrink together on a short deck.
constexpr int displayBottom = 80;
constexpr int fullShrinkingHeight = DeckWindow::deckHeight - displayBottom;

} // namespace

DeckWindow::DeckWindow(QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Spindrel"));
    mBackdrop = new DeckBackdrop([this] { layoutDeck(); }, this);
    setCentralWidget(mBackdrop);
    mBody = new DeckBackgroundView(mBackdrop);
    mBody->setObjectName(QStringLiteral("Deck"));

    // The face, top to bottom: display, cassette, grilles, keys; placed by layoutDeck().
    mHUDView = new HUDView(mBody);
    mTapeView = new TapeView(mBody);
    mLeftGrille = new SpeakerGrillView(mBody);
    mRightGrille = new SpeakerGrillView(mBody);
    mButtonView = new SegmentedTapeButtonView(mBody);
    mDrawerButton = new DrawerButton(DrawerButton::Right, mBody);
    mDrawerButton->setObjectName(QStringLiteral("DrawerButton"));
    mDrawerButton->setToolTip(tr("Show or hide the tapes"));
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
    mMessageExpiry.setSingleShot(true);
    connect(&mMessageExpiry, &QTimer::timeout, this, [this] { dismissMessage(); });

    // The menus come later: the height their bar takes is added to the window rather than taken
    // from a deck shown at its full height.
    menuBar()->installEventFilter(this);
    resize(faceWidth, deckHeight);
    layoutDeck();
}

DeckWindow::~DeckWindow() = default;

void DeckWindow::setDrawer(QWidget* drawer)
{
    mDrawer = drawer;
    drawer->setParent(mBody);
    mDrawerButton->raise();
    layoutDeck();
}

void DeckWindow::setDrawerOpen(bool open)
{
    mDrawerOpen = open;
    layoutDeck();
}

QWidget* DeckWindow::deckView() const
{
    return mBody;
}

QSize DeckWindow::deckSize() const
{
    const int fullWidth = faceWidth + (mDrawerOpen && mDrawer ? mDrawer->width() : 0);
    return {std::clamp(mBackdrop->width(), faceWidth, fullWidth),
            std::clamp(mBackdrop->height(), minimumDeckHeight, deckHeight)};
}

void DeckWindow::layoutDeck()
{
    if (!mMessageStrip)
        return; // still being built
    const QSize deck = deckSize();
    // Centred, on whole pixels so that the pictures are copied rather than resampled.
    mBody->setGeometry(QRect(
        QPoint((mBackdrop->width() - deck.width()) / 2, (mBackdrop->height() - deck.height()) / 2), deck));
    const double shrink = double(deck.height() - displayBottom) / fullShrinkingHeight;
    const auto y = [shrink](int fullY) {
        return displayBottom + int(std::lround((fullY - displayBottom) * shrink));
    };
    const auto span = [&y](int fullY, int fullHeight) { return y(fullY + fullHeight) - y(fullY); };
    mHUDView->setGeometry(12, 14, 366, 66);
    mTapeView->setGeometry(12, y(92), 366, span(92, 236));
    mLeftGrille->setGeometry(12, y(340), 176, span(340, 96));
    mRightGrille->setGeometry(202, y(340), 176, span(340, 96));
    mButtonView->setGeometry(10, y(450), 370, span(450, 66));
    mBody->setDividers({y(86), y(334), y(444)});
    mDrawerButton->setGeometry(faceWidth - 14, y(264) - 24, 14, 48);
    if (mDrawer) {
        mDrawer->setGeometry(faceWidth, 0, mDrawer->width(), deck.height());
        // The drawer is there as far as the deck reaches beyond the face.
        mDrawer->setVisible(deck.width() > faceWidth);
    }
    if (!mMessageStrip->isHidden())
        placeMessage();
}

void DeckWindow::fitInto(const QRect& available)
{
    if (available.isEmpty())
        return;
    // The frame is known once the window manager has framed the window; before, it counts as none.
    const QSize frameExtra = frameGeometry().size() - geometry().size();
    const QSize room = available.size() - frameExtra;
    const QSize size(std::clamp(width(), minimumWidth(), std::max(minimumWidth(), room.width())),
                     std::clamp(height(), minimumHeight(), std::max(minimumHeight(), room.height())));
    if (size != this->size())
        resize(size);
    QRect frame(frameGeometry().topLeft(), size + frameExtra);
    if (!available.contains(frame)) {
        frame.moveLeft(std::clamp(frame.left(), available.left(),
                                  std::max(available.left(), available.right() - frame.width() + 1)));
        frame.moveTop(std::clamp(frame.top(), available.top(),
                                 std::max(available.top(), available.bottom() - frame.height() + 1)));
        move(frame.topLeft());
    }
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
    // A message with a way out stays until its cause is gone or it is used; a plain report of
    // what happened has been read after a while and leaves by itself.
    if (mMessageButton->isHidden())
        mMessageExpiry.start(mMessageLifetimeMs);
    else
        mMessageExpiry.stop();
}

QString DeckWindow::message() const
{
    return mMessageStrip->isHidden() ? QString() : mMessageLabel->text();
}

QPushButton* DeckWindow::messageAction() const
{
    return mMessageStrip->isHidden() || mMessageButton->isHidden() ? nullptr : mMessageButton;
}

QRect DeckWindow::messageGeometry() const
{
    return mMessageStrip->geometry();
}

void DeckWindow::dismissMessage()
{
    mMessageExpiry.stop();
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
    // Above the keys, over the speaker grilles, growing upwards: the cassette's title stays in
    // sight however long the message.
    const int width = 366 - 16;
    const int wanted = mMessageStrip->heightForWidth(width);
    const int bottom = mButtonView->y() - 6;
    const int highest = mTapeView->y() + mTapeView->height() / 3;
    const int height = std::min(wanted > 0 ? wanted : mMessageStrip->sizeHint().height(), bottom - highest);
    mMessageStrip->setGeometry(20, bottom - height, width, height);
}

bool DeckWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == menuBar() && event->type() == QEvent::Resize && !isMaximized() && !isFullScreen()) {
        const auto* resize = static_cast<QResizeEvent*>(event);
        const int grown = resize->size().height() - std::max(0, resize->oldSize().height());
        if (grown > 0 && mBackdrop->height() + grown >= deckHeight)
            this->resize(width(), height() + grown);
    }
    return QMainWindow::eventFilter(watched, event);
}

void DeckWindow::closeEvent(QCloseEvent* event)
{
    Q_EMIT closing();
    event->accept();
}

} // namespace spindrel
