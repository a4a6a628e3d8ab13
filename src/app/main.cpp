// Starts the program, or asks the one that runs already to show itself.

#include "app/Program.h"
#include "platform/InstanceLock.h"
#include "platform/ProgramStart.h"
#include "platform/Registry.h"
#include "shell/Icons.h"
#include "shell/Style.h"
#include "shell/WidgetPrompts.h"
#include "shell/frmSplash.h"
#include "sqlite/TemporaryFolder.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace qm;

/// The fonts lie beside the program where it was built, in the shared data where it was installed.
QString fontFolder()
{
    const QString program = QCoreApplication::applicationDirPath();
    const QString beside = program + QStringLiteral("/fonts");
    return QDir(beside).exists() ? beside : program + QStringLiteral("/../share/quillmark/fonts");
}

/// Shows the splash form, then the main window, until the program is ended.
int run(Program &program, WidgetPrompts &prompts)
{
    program.tidyUp();
    frmSplash splash(program.errors(), prompts,
                     {[&] {
                          frmMain &window = program.makeMainWindow();
                          prompts.setMainWindow(&window);
                          QObject::connect(&window, &frmMain::closed, qApp, &QCoreApplication::quit);
                          window.Form_Load();
                      },
                      [&] {
                          program.mainWindow()->show();
                          if (QWidget *box = QApplication::activeModalWidget()) { // opened while the schedule was loaded
                              box->raise();
                              box->activateWindow();
                          }
                      },
                      [] { QCoreApplication::quit(); }});
    splash.Form_Load();
    splash.show();
    return QCoreApplication::exec();
}

/// Without a display the user interface's library ends the program as a crash does; here it ends with a word.
void endWithoutDisplay(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtFatalMsg) {
        std::fprintf(stderr, "quillmark: %s\n", text.toUtf8().constData());
        return;
    }
    std::fputs("quillmark: There is no display to show the window on. Start it in a graphical session; quillmark-report makes reports "
               "without one.\n",
               stderr);
    std::_Exit(EXIT_FAILURE);
}

} // namespace

int main(int argc, char *argv[])
{
    prepareProgram();
    const QtMessageHandler usual = qInstallMessageHandler(endWithoutDisplay);
    QApplication app(argc, argv);
    qInstallMessageHandler(usual);
    std::setlocale(LC_NUMERIC, "C");
    chooseStyle();
    QApplication::setWindowIcon(icons::applicationIcon());
    QApplication::setDesktopFileName(QStringLiteral("quillmark"));
    QApplication::setQuitOnLastWindowClosed(false);

    // What SQLite writes while it sorts lies where nobody else can read it; set before any thread starts.
    useTemporaryFolder();

    // A missing installation folder is told by the main window; here it only means that there is nothing to lock.
    const QString installPath = trapSilently([] { return GetInstallPath(); });
    WidgetPrompts prompts;
    InstanceLock lock(installPath);
    switch (installPath.isEmpty() ? InstanceLock::Result::NotLockable : lock.acquire()) {
    case InstanceLock::Result::HeldBySameUser:
        lock.askHolderToRaise();
        return EXIT_SUCCESS;
    case InstanceLock::Result::HeldByOther:
        prompts.messageBox(QCoreApplication::translate("main",
                                                       "This installation's report generator is already open: %1.\r\n\r\nA "
                                                       "second one would run each scheduled report twice. Close the other one first.")
                               .arg(lock.holder()),
                           box::ok | box::exclamation, QString::fromLatin1(kApplicationTitle));
        return EXIT_FAILURE;
    case InstanceLock::Result::Acquired:
    case InstanceLock::Result::NotLockable:
        break;
    }
    const QString userStateFolder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/tarrowind/");
    prompts.setStateFile(userStateFolder + QStringLiteral("window.ini"));
    Program program(prompts, {.installPath = installPath, .fontFolder = fontFolder(), .userStateFolder = userStateFolder});
    QObject::connect(&lock, &InstanceLock::raiseRequested, &app, [&program] {
        if (program.mainWindow())
            program.mainWindow()->RestoreFromTray();
    });
    return run(program, prompts);
}
