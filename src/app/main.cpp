#include "core/RuntimeError.h"
#include "shell/Icons.h"

#include <QApplication>

#include <clocale>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setWindowIcon(qm::icons::applicationIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    return 0;
}
