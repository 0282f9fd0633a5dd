#include "app/CommandLine.h"

#include <QApplication>
#include <QGuiApplication>
#include <QMainWindow>

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
        return commandLine.run(arguments);
    }

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Spindrel"));
    QApplication::setApplicationName(QStringLiteral("Spindrel"));
    QApplication::setApplicationVersion(QStringLiteral(SPINDREL_VERSION));
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Spindrel"));
    window.resize(720, 420);
    window.show();
    return app.exec();
}
