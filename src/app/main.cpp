#include "app/AppController.h"
#include "app/CommandLine.h"
#include "app/Translations.h"

#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QTimer>

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    spindrel::CommandLine commandLine;
    if (commandLine.handles(arguments)) {
        // Commands draw (cover art) but never show a window.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication app(argc, argv);
        QCoreApplication::setOrganizationName(QStringLiteral("Spindrel"));
        QCoreApplication::setApplicationName(QStringLiteral("Spindrel"));
        spindrel::Translations::install();
        return commandLine.run(arguments);
    }

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Spindrel"));
    QApplication::setApplicationName(QStringLiteral("Spindrel"));
    QApplication::setApplicationVersion(QStringLiteral(SPINDREL_VERSION));
    spindrel::Translations::install();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/spindrel.svg")));
    // The deck ends the application itself once its window has closed and every tape is written.
    QApplication::setQuitOnLastWindowClosed(false);

    spindrel::AppController controller;
    QStringList files;
    for (const QString& argument : arguments.mid(1)) {
        if (QFileInfo(argument).isFile())
            files << argument;
    }
    QTimer::singleShot(0, &controller, [&controller, files] {
        controller.applicationDidFinishLaunching();
        if (!files.isEmpty())
            controller.openFiles(files);
    });
    return app.exec();
}
