#include "platform/ProgramStart.h"

#include "platform/EscapedText.h"

#include <QFile>

#include <csignal>

namespace qm {

void prepareProgram()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

QString whyUnreadable(int argc, const char *const *argv)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray bytes(argv[i]);
        if (QFile::encodeName(QFile::decodeName(bytes)) == bytes)
            continue;
        return QStringLiteral("The argument \"%1\" is no valid UTF-8. Rename the file that it names.")
            .arg(escapedText(QString::fromUtf8(bytes)));
    }
    return {};
}

} // namespace qm
