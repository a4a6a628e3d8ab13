// The files that the program keeps: what was read is written so that it reads back the same.

#include "fuzz/Fuzz.h"

#include "core/RuntimeError.h"
#include "framework/ConfigReaders.h"
#include "framework/LayoutFile.h"
#include "framework/QueryFile.h"
#include "help/viewer/HelpBook.h"
#include "platform/Registry.h"

#include <QFile>

namespace qm::fuzz {

namespace {

void packages(const QByteArray &bytes)
{
    for (const auto &package : IniPackageConfigReader().ReadPackages(put("Packages.ini", bytes)))
        PROMISE(!package->PackageName.isEmpty() && !package->InstallPath.isEmpty());
}

void jobs(const QByteArray &bytes)
{
    TomlJobConfigReader reader;
    std::shared_ptr<JobCollection> read = reader.LoadJobs(put("Jobs.cfg", bytes));
    const JobCollection before = *read;
    const QString again = put("Again.cfg", {});
    mustSucceed([&] { TomlJobConfigReader().SaveJobs(read, again); });
    const auto back = mustSucceed([&] { return TomlJobConfigReader().LoadJobs(again); });
    PROMISE(back->size() == before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        PROMISE(*(*back)[i] == *before[i]);
}

void email(const QByteArray &bytes)
{
    const auto read = TomlEmailConfigReader().ReadEmailSettings(put("Email.cfg", bytes));
    const QString again = put("Again.cfg", {});
    mustSucceed([&] { TomlEmailConfigReader().WriteEmailSettings(*read, again); });
    PROMISE(*mustSucceed([&] { return TomlEmailConfigReader().ReadEmailSettings(again); }) == *read);
}

void dataSource(const QByteArray &bytes)
{
    const auto read = TomlDataSourceFileReader().ReadDataSource(put("x.dsf", bytes));
    if (dynamic_cast<const QMMDSMSSql *>(read.get()) == nullptr && dynamic_cast<const QMMDSOracle *>(read.get()) == nullptr)
        return; // of another program's class: skipped, never written
    const QString again = put("again.dsf", {});
    mustSucceed([&] { TomlDataSourceFileReader().WriteDataSource(*read, again); });
    const auto back = mustSucceed([&] { return TomlDataSourceFileReader().ReadDataSource(again); });
    PROMISE(back && back->className() == read->className());
    if (const auto *server = dynamic_cast<const QMMDSMSSql *>(read.get())) {
        const auto &same = dynamic_cast<const QMMDSMSSql &>(*back);
        PROMISE(same.ServerName == server->ServerName && same.DatabaseName == server->DatabaseName && same.UserName == server->UserName &&
                same.Password == server->Password && same.ConnectionType == server->ConnectionType);
    } else if (const auto *oracle = dynamic_cast<const QMMDSOracle *>(read.get())) {
        const auto &same = dynamic_cast<const QMMDSOracle &>(*back);
        PROMISE(same.ServerName == oracle->ServerName && same.UserName == oracle->UserName && same.Password == oracle->Password);
    }
}

void query(const QByteArray &bytes)
{
    const QString path = QStringLiteral("x.rqn");
    const auto summary = scanQuerySummary({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    const Query read = parseQuery(bytes, path);
    if (summary)
        PROMISE(summary->description == read.Description && summary->outputType == read.OutputSettings.OutputType &&
                summary->reportFile == read.ReportFile);
    Query back = parseQuery(mustSucceed([&] { return queryText(read, path); }), path);
    PROMISE(back.sql == read.sql && back.Description == read.Description && back.dataSource == read.dataSource &&
            back.sqlFor == read.sqlFor && back.parameters.size() == read.parameters.size() && back.rowLimit == read.rowLimit);
    // Values change, everything else stays.
    back.Description += QStringLiteral(" ü\"\\\n");
    back.rowLimit = 77;
    const Query changed = parseQuery(mustSucceed([&] { return queryText(back, path); }), path);
    PROMISE(changed.Description == back.Description && changed.rowLimit == 77 && changed.sql == read.sql);
}

void layout(const QByteArray &bytes)
{
    const QString path = QStringLiteral("x.rpt");
    const ReportLayout read = parseLayout(bytes, path);
    const ReportLayout back = parseLayout(mustSucceed([&] { return layoutText(read, path); }), path);
    PROMISE(back.title == read.title && back.subtitle == read.subtitle && back.note == read.note &&
            back.columns.size() == read.columns.size() && back.groups.size() == read.groups.size() &&
            back.totals.size() == read.totals.size() && back.charts.size() == read.charts.size() &&
            back.figures.size() == read.figures.size() && back.top.field == read.top.field && back.warnings == read.warnings);
    // Written anew, without the bytes that were read.
    ReportLayout fresh = read;
    fresh.original = nullptr;
    const ReportLayout again = parseLayout(mustSucceed([&] { return layoutText(fresh, path); }), path);
    PROMISE(again.columns.size() == read.columns.size() && again.figures.size() == read.figures.size() &&
            again.top.value == read.top.value && again.note == read.note && again.warnings.isEmpty());
    for (std::size_t i = 0; i < read.columns.size(); ++i)
        PROMISE(again.columns[i].words == read.columns[i].words && again.columns[i].rules.size() == read.columns[i].rules.size());
}

/// A value, NUL, and the file that it is written into.
void registry(const QByteArray &bytes)
{
    const qsizetype cut = bytes.indexOf('\0');
    const QString value = QString::fromUtf8(bytes.left(std::max<qsizetype>(cut, 0)));
    const QString path = put("registry.ini", bytes.mid(cut + 1));
    const QString section = QString::fromLatin1(kRegistryKey), key = QStringLiteral("InstallPath");
    for (const QString &name : privateProfileSections(path))
        (void)privateProfileString(path, name, key);
    PROMISE(shortProfileString(path, QStringLiteral("Framework"), QStringLiteral("Version")).size() <= 254);
    setPrivateProfileString(path, section, key, value);
    if (value == value.trimmed() && !value.startsWith(u'"') && !value.startsWith(u'\''))
        PROMISE(privateProfileString(path, section, key) == value);
}

void help(const QByteArray &bytes)
{
    const HelpBook book(put("x.chm", bytes));
    (void)book.search(QStringLiteral("report schedule"));
    (void)book.pageOfContext(1);
}

} // namespace

Targets configurationTargets()
{
    return {{"packages", packages}, {"jobs", jobs},     {"email", email},       {"data-source", dataSource},
            {"query", query},       {"layout", layout}, {"registry", registry}, {"help", help}};
}

} // namespace qm::fuzz
