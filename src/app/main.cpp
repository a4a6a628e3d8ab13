// Starts the program, or asks the one that runs already to show itself.

#include "app/Program.h"
#include "platform/InstanceLock.h"
#include "platform/Registry.h"
#include "reporting/engine/TemporaryFolder.h"
#include "shell/Icons.h"
#include "shell/Style.h"
#include "shell/WidgetPrompts.h"
#include "shell/frmSplash.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

#include <clocale>

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
                          window.Form_Load();
                      },
                      [&] { program.mainWindow()->show(); }, [] { QCoreApplication::quit(); }});
    splash.Form_Load();
    splash.show();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
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
    Program program(prompts, {.installPath = installPath,
                              .fontFolder = fontFolder(),
                              .userStateFolder =
                                  QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/tarrowind/"),
                              .endProgram = [] { QCoreApplication::quit(); }});
    QObject::connect(&lock, &InstanceLock::raiseRequested, &app, [&program] {
        if (program.mainWindow())
            program.mainWindow()->RestoreFromTray();
    });
    return run(program, prompts);
}
