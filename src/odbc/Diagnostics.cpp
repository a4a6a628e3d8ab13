#include "odbc/Diagnostics.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>

namespace qm::odbc {

namespace {

/// One way to recognise a step of connecting. A null member matches all; the number 0 likewise.
struct Sign
{
    Stage stage;
    int native;
    const char *state;
    const char *words; ///< regular expression, letter case ignored
};

/// From the most to the least telling: the first sign that any record shows decides.
constexpr std::array kSigns{
    Sign{Stage::Driver, 0, nullptr, "can't open lib|driver not found|specified driver could not be (loaded|connected)"},
    Sign{Stage::Driver, 0, "IM002", nullptr},
    Sign{Stage::Driver, 0, "IM003", nullptr},
    Sign{Stage::Driver, 0, "IM004", nullptr},
    Sign{Stage::Database, 4060, nullptr, nullptr},
    Sign{Stage::Database, 911, nullptr, nullptr},
    Sign{Stage::Database, 916, nullptr, nullptr},
    Sign{Stage::Database, 0, "3D000", nullptr},
    Sign{Stage::Database, 0, nullptr, "database \"[^\"]*\" does not exist|permission denied for database|unable to open database"},
    Sign{Stage::Name, 20013, nullptr, nullptr},
    Sign{Stage::Name, 0, nullptr, "could not translate host name|unknown host|name or service not known|no such host"},
    Sign{Stage::Name, 0, nullptr, "ORA-(12154|12514|12505|12545)"},
    Sign{Stage::LogIn, 18456, nullptr, nullptr},
    Sign{Stage::LogIn, 18452, nullptr, nullptr},
    Sign{Stage::LogIn, 20002, nullptr, nullptr},
    Sign{Stage::LogIn, 20014, nullptr, nullptr},
    Sign{Stage::LogIn, 0, "28000", nullptr},
    Sign{Stage::LogIn, 0, "28P01", nullptr},
    Sign{Stage::LogIn, 0, nullptr, "password|authentication|role \"[^\"]*\" does not exist|ORA-(01017|28000|28001|01045)"},
    Sign{Stage::Network, 0, "HYT00", nullptr},
    Sign{Stage::Network, 0, "HYT01", nullptr},
    Sign{Stage::Network, 20009, nullptr, nullptr},
    Sign{Stage::Network, 20017, nullptr, nullptr},
    Sign{Stage::Network, 0, nullptr, "refused|timed? ?out|unreachable|closed the connection|no route|ORA-(12541|12170|12535)"},
    Sign{Stage::Network, 0, "08S01", nullptr},
    Sign{Stage::Network, 0, "08001", nullptr},
};

bool shows(const Diagnostic &diagnostic, const Sign &sign)
{
    if (sign.native != 0 && diagnostic.native != sign.native)
        return false;
    if (sign.state && diagnostic.state != QLatin1String(sign.state))
        return false;
    return !sign.words ||
           diagnostic.words.contains(QRegularExpression(QString::fromLatin1(sign.words), QRegularExpression::CaseInsensitiveOption));
}

QString adviceFor(Stage stage)
{
    switch (stage) {
    case Stage::Driver:
        return QStringLiteral(
            "Install an ODBC driver for this kind of server, or mend the system's list of drivers and data source names.");
    case Stage::Name:
        return QStringLiteral("Check how the server's name is spelled, and that this computer can resolve it.");
    case Stage::Network:
        return QStringLiteral("Check that the server runs, that it listens on this port (write \"Server,Port\" for a port of its own), and "
                              "that no firewall stands between.");
    case Stage::LogIn:
        return QStringLiteral("Check user name and password, and that the server lets this user in from here. Integrated security needs a "
                              "log-in to the domain (elsewhere than on Windows: a valid Kerberos ticket).");
    case Stage::Database:
        return QStringLiteral("Check the database's name, and that this user may open it.");
    case Stage::Unknown:
        break;
    }
    return QStringLiteral("Check server, database, user name and password.");
}

} // namespace

ConnectFailure judgeConnecting(std::vector<Diagnostic> diagnostics)
{
    for (const Sign &sign : kSigns) {
        const auto telling =
            std::find_if(diagnostics.begin(), diagnostics.end(), [&](const Diagnostic &diagnostic) { return shows(diagnostic, sign); });
        if (telling == diagnostics.end())
            continue;
        std::rotate(diagnostics.begin(), telling, telling + 1);
        return {sign.stage, std::move(diagnostics)};
    }
    return {Stage::Unknown, std::move(diagnostics)};
}

QString stageName(Stage stage)
{
    switch (stage) {
    case Stage::Driver:
        return QStringLiteral("Driver");
    case Stage::Name:
        return QStringLiteral("Server name");
    case Stage::Network:
        return QStringLiteral("Network");
    case Stage::LogIn:
        return QStringLiteral("Log-in");
    case Stage::Database:
        return QStringLiteral("Database");
    case Stage::Unknown:
        break;
    }
    return QStringLiteral("Connection");
}

QString shown(const Diagnostic &diagnostic)
{
    QStringList numbers;
    if (diagnostic.native != 0)
        numbers << QStringLiteral("native error %1").arg(diagnostic.native);
    if (!diagnostic.state.isEmpty())
        numbers << QStringLiteral("SQLSTATE %1").arg(diagnostic.state);
    return numbers.isEmpty() ? diagnostic.words : diagnostic.words + QStringLiteral(" [%1]").arg(numbers.join(QStringLiteral(", ")));
}

Diagnostic mostTelling(const std::vector<Diagnostic> &diagnostics)
{
    if (diagnostics.empty())
        return {{}, 0, QStringLiteral("The driver reports a failure without saying which."), 0};
    const auto server = std::find_if(diagnostics.begin(), diagnostics.end(), [](const Diagnostic &diagnostic) {
        return diagnostic.native != 0 && diagnostic.state != QStringLiteral("01000") && diagnostic.state != QStringLiteral("HY008");
    });
    return server == diagnostics.end() ? diagnostics.front() : *server;
}

QString explain(const ConnectFailure &failure, const QString &driver)
{
    const Diagnostic first = failure.diagnostics.empty() ? mostTelling({}) : failure.diagnostics.front();
    QString text = stageName(failure.stage) + QStringLiteral(": ") + shown(first);
    text += QStringLiteral("\r\n\r\n") + adviceFor(failure.stage);
    QStringList others;
    for (std::size_t i = 1; i < failure.diagnostics.size(); ++i)
        others << shown(failure.diagnostics[i]);
    if (!others.isEmpty())
        text += QStringLiteral("\r\n\r\n%1 also said: %2")
                    .arg(driver.isEmpty() ? QStringLiteral("The driver") : QStringLiteral("The driver \"%1\"").arg(driver),
                         others.join(QStringLiteral("; ")));
    return text;
}

} // namespace qm::odbc
