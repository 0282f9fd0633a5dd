#include "update/UpdateAlert.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

namespace spindrel::UpdateAlert {

namespace {

// The free functions here share one translation context.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(UpdateAlert)
};

QMessageBox* makeBox(const QString& text, const QString& informativeText)
{
    // Not modal: an answer from the network must never stop the deck.
    auto* box = new QMessageBox(QMessageBox::Information, Texts::tr("Software Update"), text);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setInformativeText(informativeText);
    box->setTextFormat(Qt::PlainText);
    box->setWindowModality(Qt::NonModal);
    return box;
}

} // namespace

void showUpdateFound(const AppcastItem& item, const QString& currentVersion)
{
    const QUrl where = item.downloadURL();
    QString details = Texts::tr("Spindrel %1 is now available—you have %2.")
                          .arg(item.displayVersionString.toHtmlEscaped(), currentVersion.toHtmlEscaped());
    if (!item.itemDescription.isEmpty())
        details += QStringLiteral("<p><b>") + Texts::tr("What's new:") + QStringLiteral("</b></p>") +
                   item.itemDescription;
    if (item.releaseNotesURL.isValid())
        details += QStringLiteral("<p><a href=\"%1\">%2</a></p>")
                       .arg(item.releaseNotesURL.toString().toHtmlEscaped(), Texts::tr("Release notes"));
    if (where.isValid())
        details += QStringLiteral("<p>") + Texts::tr("Get it from:") +
                   QStringLiteral(" <a href=\"%1\">%1</a></p>").arg(where.toString().toHtmlEscaped());
    QMessageBox* box = makeBox(Texts::tr("A new version of Spindrel is available!"), details);
    box->setObjectName(QStringLiteral("updateFound"));
    if (where.isValid()) {
        QPushButton* download = box->addButton(Texts::tr("Download"), QMessageBox::AcceptRole);
        QObject::connect(download, &QPushButton::clicked, box, [where] { QDesktopServices::openUrl(where); });
    }
    box->addButton(Texts::tr("Remind Me Later"), QMessageBox::RejectRole);
    box->show();
}

void showUpToDate(const QString& currentVersion)
{
    QMessageBox* box =
        makeBox(Texts::tr("You're up to date!"),
                Texts::tr("Spindrel %1 is currently the newest version available.").arg(currentVersion));
    box->setObjectName(QStringLiteral("upToDate"));
    box->addButton(QMessageBox::Ok);
    box->show();
}

void showError(const QString& message)
{
    QMessageBox* box = makeBox(Texts::tr("Update Error!"), message);
    box->setObjectName(QStringLiteral("updateError"));
    box->setIcon(QMessageBox::Warning);
    box->addButton(QMessageBox::Ok);
    box->show();
}

} // namespace spindrel::UpdateAlert
