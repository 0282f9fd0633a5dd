#include "app/AboutWindow.h"

#include "app/AppController.h"

#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace spindrel {

AboutWindow::AboutWindow(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("About Spindrel"));
    setObjectName(QStringLiteral("AboutWindow"));

    auto* icon = new QLabel(this);
    icon->setPixmap(QIcon(QStringLiteral(":/icons/spindrel.svg")).pixmap(96, 96));
    icon->setAlignment(Qt::AlignCenter);

    auto* name = new QLabel(QStringLiteral("<b style='font-size:18pt'>Spindrel</b>"), this);
    name->setAlignment(Qt::AlignCenter);
    mVersionLabel = new QLabel(tr("Version %1").arg(AppController::versionText()), this);
    mVersionLabel->setObjectName(QStringLiteral("AboutVersion"));
    mVersionLabel->setAlignment(Qt::AlignCenter);

    auto* credits = new QTextBrowser(this);
    credits->setObjectName(QStringLiteral("AboutCredits"));
    credits->setOpenExternalLinks(true);
    credits->setHtml(tr("<p>A cassette deck for recording: every recording is a tape, an .m4a file in your "
                        "tape library, with its title, notes, date and cover art kept inside the file.</p>"
                        "<p><b>Built with</b><br>Qt, for the deck and its windows<br>"
                        "FFmpeg, for encoding and decoding AAC and Apple Lossless<br>"
                        "PulseAudio, for sound in and out<br>"
                        "libsamplerate, for tape speeds<br>"
                        "libplist, for the tape letters' archives<br>"
                        "the Liberation and DejaVu fonts.</p>"));
    credits->setMinimumHeight(150);

    auto* close = new QPushButton(tr("Close"), this);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(icon);
    layout->addWidget(name);
    layout->addWidget(mVersionLabel);
    layout->addWidget(credits, 1);
    layout->addWidget(close, 0, Qt::AlignRight);
    resize(360, 420);
}

QString AboutWindow::versionString() const
{
    return mVersionLabel->text();
}

} // namespace spindrel
