#include "app/AppController.h"
#include "app/CommandLine.h"
#include "app/Translations.h"

#include <QApplication>
#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QTimer>
#include <vector>

namespace {

int runCommand(const spindrel::CommandLine& commandLine, const QStringList& arguments)
{
    QCoreApplication::setOrganizationName(QStringLiteral("Spindrel"));
    QCoreApplication::setApplicationName(QStringLiteral("Spindrel"));
    spindrel::Translations::install();
    return commandLine.run(arguments);
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    spindrel::CommandLine commandLine;
    if (commandLine.handles(arguments)) {
        if (commandLine.needs(arguments) == spindrel::CommandLine::Needs::Core) {
            QCoreApplication app(argc, argv);
            return runCommand(commandLine, arguments);
        }
        // Painting takes a GUI application but no display: unless a platform is asked for, the
        // offscreen one. Given as an argument, so that programs the command starts do not inherit it.
        std::vector<char*> guiArgv(argv, argv + argc);
        char platformOption[] = "-platform";
        char offscreen[] = "offscreen";
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            guiArgv.insert(guiArgv.begin() + 1, {platformOption, offscreen});
        int guiArgc = int(guiArgv.size());
        guiArgv.push_back(nullptr);
        QGuiApplication app(guiArgc, guiArgv.data());
        return runCommand(commandLine, arguments);
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
