/// \file
/// An installation with one event database, and everything that report interfaces work with.
#pragma once

#include "engine/run/ReportEngine.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"
#include "reporting/common/ReportDesk.h"
#include "reporting/common/ReportingUiServices.h"
#include "reporting/generate/PackageReportInterface.h"
#include "sqlite/Sqlite.h"
#include "support/ErrorOf.h"
#include "support/Fakes.h"
#include "support/System.h"
#include "support/TempInstallation.h"

#include <QApplication>
#include <QDir>
#include <QPointer>
#include <QStandardPaths>

namespace qm::test {

using namespace Qt::StringLiterals;

/// Runs far longer than any test waits.
constexpr char kEndless[] = "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x FROM n WHERE x < 0";

class ReportingFixture
{
public:
    ReportingFixture()
    {
        if (onWindows()) { // where a user has one such folder, and a program that was killed leaves its files; those in use stay
            QStandardPaths::setTestModeEnabled(true);
            for (const QString &left : spoolFolder().entryList(QDir::Files | QDir::Hidden))
                QFile::remove(spoolFolder().filePath(left));
        } else {
            qputenv("XDG_CACHE_HOME", QFile::encodeName(installation.path() + u"cache"_s));
        }
        database = installation.packagePath(u"Server"_s) + u"EventLog.db"_s;
        int code = SQLITE_OK;
        const auto connection = sqlite::open(database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, code);
        sqlite::execute(
            connection.get(),
            "CREATE TABLE events(id INTEGER PRIMARY KEY, time_generated DATETIME, computer TEXT, attempts INTEGER, message TEXT);"
            "CREATE VIEW recent AS SELECT * FROM events WHERE attempts > 1;"
            "INSERT INTO events VALUES(1,'2026-11-19 08:00:00','server10',5,'plain'),"
            "(2,'2026-11-18 08:00:00','Server9',1200,NULL),(3,'2026-11-17 08:00:00','alpha',7,'two' || char(10) || 'lines');");
        group = installation.group(u"Server"_s, u"Security"_s) + kSep;
    }

    /// Writes a query file whose SQL and further TOML are given. \returns its path.
    QString query(const QString &name, const QByteArray &sql, const QByteArray &more = "[output]\ntype = \"screen\"\n") const
    {
        return installation.write(group + name + u".rqn"_s,
                                  "description = \"" + name.toUtf8() + "\"\nsql = '''\n" + sql + "\n'''\n" + more);
    }

    /// The open window with that object name, or null.
    template <class Window>
    static Window *window(const char *name)
    {
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (widget->objectName() == QLatin1String(name) && widget->isVisible())
                return qobject_cast<Window *>(widget);
        return nullptr;
    }

    /// What a test left open.
    static void deleteWindows()
    {
        QList<QPointer<QWidget>> open;
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (!widget->parent())
                open << widget;
        for (const auto &widget : open)
            delete widget.data();
    }

    [[nodiscard]] static QDir spoolFolder()
    {
        return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/quillmark/spool"_s);
    }
    [[nodiscard]] static int spoolFiles() { return static_cast<int>(spoolFolder().entryList(QDir::Files | QDir::Hidden).size()); }

    TempInstallation installation;
    QString database, group;
    ScriptedPrompts prompts;
    FakeClock clock{WallTime{QDate(2026, 11, 20), 12 * 3600}};
    ApplicationLog log{installation.path(), u"test"_s};
    QString fonts = QString::fromLocal8Bit(qgetenv("QM_BIN_DIR")) + u"/fonts"_s;
    ReportEngine engine{EngineServices{installation.path(), fonts, clock, log}};
    TomlQueryAccess queries;
    TomlLayoutReader layouts;
    ReportDesk desk;
    struct Host final : ReportingHost
    {
        explicit Host(const TempInstallation &place) : m_place(place) {}
        [[nodiscard]] QString installPath() const override { return m_place.path(); }
        [[nodiscard]] QStringList dataSourceKeys() const override { return {u"MSSQL::Payroll.dsf"_s}; }
        [[nodiscard]] QWidget *window() const override { return mainWindow; }
        void refused(const QString &, bool, const QString &why) override { refusals << why; }
        QWidget *mainWindow = nullptr;
        QStringList refusals;

    private:
        const TempInstallation &m_place;
    } host{installation};
    ReportingUiServices services{prompts, engine, queries, layouts, clock, log, desk, host, fonts};
    std::unique_ptr<ReportInterface> interface = makePackageReportInterface(services);
};

} // namespace qm::test
