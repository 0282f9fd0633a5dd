#include "app/AppController.h"
#include "app/CommandLine.h"
#include "app/SingleInstance.h"
#include "app/Translations.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDBusConnection>
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

    // Relative names are resolved here: the running deck has a working directory of its own.
    QStringList files;
    for (const QString& argument : arguments.mid(1)) {
        const QFileInfo file(argument);
        if (file.isFile())
            files << file.absoluteFilePath();
    }
    // A deck already running in this session takes the files (or comes to the front) instead of a
    // second deck opening on the same library. Without a session bus every launch opens a deck.
    spindrel::SingleInstance instance;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && !instance.registerOnBus(bus))
        return spindrel::SingleInstance::handOver(bus, files) ? 0 : 1;

    spindrel::AppController controller;
    QTimer::singleShot(0, &controller, [&controller, &instance, files] {
        controller.applicationDidFinishLaunching();
        if (!files.isEmpty())
            controller.openFiles(files);
        if (instance.isRegistered())
            controller.serveLaterLaunches(instance);
    });
    return app.exec();
}
