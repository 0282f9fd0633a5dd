#include "app/CommandLine.h"

#include <QApplication>
#include <QCoreApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    spindrel::CommandLine commandLine;
    if (commandLine.handles(arguments)) {
        QCoreApplication app(argc, argv);
        return commandLine.run(arguments);
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Spindrel"));
    QApplication::setApplicationVersion(QStringLiteral(SPINDREL_VERSION));
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Spindrel"));
    window.resize(720, 420);
    window.show();
    return app.exec();
}
