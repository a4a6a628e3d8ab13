// What is written is read back the same, in every format, for any text.
#include "FormatSamples.h"
#include "core/Utf8.h"
#include "framework/ConfigReaders.h"
#include "framework/LayoutFile.h"
#include "framework/QueryFile.h"
#include "framework/QueryFiles.h"
#include "framework/toml/TomlNode.h"

#include <QFileInfo>

#include <algorithm>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

QStringList randomTexts(Random &random)
{
    QStringList texts;
    for (unsigned count = random() % 3; count > 0; --count)
        texts.append(randomText(random));
    return texts;
}

Query randomQuery(Random &random)
{
    Query query;
    query.Description = randomText(random);
    query.ReportFile = randomText(random);
    query.dataSource = randomText(random);
    query.sql = randomText(random);
    query.rowLimit = static_cast<qint64>(random()) << (random() % 31);
    query.timeoutSeconds = static_cast<int>(random() % 1000);
    for (unsigned count = random() % 3; count > 0; --count)
        query.sqlFor.insert(randomText(random), randomText(random));
    query.period.used = random() % 2 == 0;
    if (query.period.used)
        query.period.range = randomText(random);
    for (unsigned count = random() % 4; count > 0; --count) {
        QueryParameter parameter;
        parameter.name = u"p%1"_s.arg(count);
        parameter.label = randomText(random);
        parameter.type = static_cast<ParameterType>(random() % 7);
        parameter.hasDefault = random() % 2 == 0;
        parameter.defaultValue = parameter.hasDefault ? randomText(random) : QString();
        parameter.values = randomTexts(random);
        if (parameter.type == ParameterType::List)
            parameter.values.append(randomText(random));
        query.parameters.push_back(parameter);
    }
    OutputSettings &output = query.OutputSettings;
    output.OutputType = static_cast<int>(random() % 6) - 1;
    output.format = reportFormats().at(static_cast<qsizetype>(random()) % reportFormats().size());
    output.file = randomText(random);
    output.csvByteOrderMark = random() % 2 == 0;
    output.csvGuardFormulas = random() % 2 == 0;
    output.email = EmailOutput{randomText(random),  randomTexts(random), randomTexts(random),
                               randomTexts(random), randomText(random),  randomText(random)};
    output.printer = {randomText(random), 1 + static_cast<int>(random() % 999)};
    return query;
}

/// A query's file as it is written anew: equal for queries that are equal in all they keep.
QString stored(Query query)
{
    query.original = nullptr;
    return QString::fromUtf8(queryText(query, u"q.rqn"_s));
}

std::vector<LayoutAggregate> randomAggregates(Random &random)
{
    std::vector<LayoutAggregate> aggregates(random() % 3);
    for (LayoutAggregate &aggregate : aggregates)
        aggregate = {u"f"_s + randomText(random), static_cast<Aggregate>(random() % 8), randomText(random)};
    return aggregates;
}

ReportLayout randomLayout(Random &random)
{
    const auto flag = [&random] { return random() % 2 == 0; };
    ReportLayout layout;
    layout.title = randomText(random);
    layout.note = randomText(random);
    if (flag())
        layout.page.size = static_cast<PageSize>(random() % 5);
    layout.page.allowA3 = flag();
    layout.columns.resize(random() % 4);
    for (LayoutColumn &column : layout.columns) {
        column.field = randomText(random);
        column.nullText = randomText(random);
        for (unsigned count = random() % 4; count > 0; --count)
            column.words.emplace_back(QString::number(count) + randomText(random), randomText(random));
        for (unsigned count = random() % 3; count > 0; --count)
            column.rules.push_back({static_cast<RuleTest>(random() % 8), randomText(random), static_cast<RuleEmphasis>(random() % 3)});
    }
    layout.groups.resize(random() % 3);
    for (LayoutGroup &group : layout.groups)
        group = {randomText(random), flag(), static_cast<GroupOrder>(random() % 4), flag(), flag(), flag(), randomAggregates(random)};
    layout.totals = randomAggregates(random);
    layout.charts.resize(random() % 4);
    for (LayoutChart &chart : layout.charts)
        chart = {.kind = u"heat"_s, .title = randomText(random), .values = randomTexts(random), .valueTitle = randomText(random)};
    layout.figures.resize(random() % 3);
    for (LayoutFigure &figure : layout.figures)
        figure = {randomText(random), u"f"_s, static_cast<Aggregate>(random() % 8), randomText(random)};
    if (flag())
        layout.top = {randomText(random) + u'f', randomText(random) + u'v', Aggregate::Sum, randomText(random), 3};
    return layout;
}

QString stored(ReportLayout layout)
{
    layout.original = nullptr;
    return QString::fromUtf8(layoutText(layout, u"l.rpt"_s));
}

const QByteArray kEveryKeyOfAQuery = R"(format = 1
description = "Failed logons"
data_source = "MSSQL::Payroll.dsf"
report_file = "Layouts/l.rpt"
row_limit = 1000
timeout_seconds = 90
sql = "SELECT 1"
sql_for = { oracle = "SELECT 2 FROM dual" }
period = { range = "last week" }
parameter = [{ name = "kind", label = "Kind", type = "list", default = "b", values = ["a", "b"] }]
[output]
type = "email"
format = "csv"
file = "{description}"
csv_byte_order_mark = true
csv_guard_formulas = true
email = { from = "r@x.org", to = ["a@x.org"], cc = ["b@x.org"], bcc = ["c@x.org"], subject = "s", body = "t" }
printer = { name = "good", copies = 2 }
)";

const QByteArray kEveryKeyOfALayout = R"(format = 1
title = "Logons"
subtitle = "of {package}"
note = "Patch days are loud."
only_listed = true
page = { size = "A5", orientation = "portrait", margin_mm = 7.5, allow_a3 = true }
header = { left = "a", centre = "b", right = "c" }
footer = { left = "d", centre = "e", right = "f" }
column = [{ field = "id", caption = "No", width_mm = 33.25, align = "centre", format = "#,##0", visible = false, wrap = false, null_text = "none", words = { 2 = "at the desk", "0xc000006a" = "wrong password" }, rule = [{ test = ">=", value = "10", show = "alarm" }, { test = "null", show = "warning" }] }]
group = [{ field = "day", order = "descending", heading = false, new_page = true, keep_together = true, suppress_repeats = false, subtotal = [{ field = "id", function = "maximum", caption = "Largest" }] }]
total = [{ field = "id", function = "average", caption = "Mean" }]
chart = [{ kind = "line", title = "Days", category = "day", series = "kind", values = ["id"], category_title = "Day", value_title = "Log-ins", top = 5, other = true }, { kind = "heat", category = "hour" }]
figure = [{ caption = "Mean", field = "id", function = "average", format = "0.0" }]
top = { caption = "Busiest", field = "day", value = "id", function = "sum", most = 5 }
)";

} // namespace

class FrameworkRoundTripTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void each_nasty_text_comes_back_from_settings_and_sources()
    {
        const Folder folder;
        const QStringList texts = nastyTexts();
        for (const QString &text : texts) {
            EmailSettings settings;
            settings.SmtpServer = settings.SmtpUser = settings.SmtpPassword = text;
            TomlEmailConfigReader email;
            email.WriteEmailSettings(settings, folder.path(u"Email.cfg"_s));
            QCOMPARE(*email.ReadEmailSettings(folder.path(u"Email.cfg"_s)), settings);

            QMMDSMSSql source;
            source.ServerName = source.DatabaseName = source.UserName = source.Password = text;
            source.ConnectionType = 1;
            TomlDataSourceFileReader sources;
            sources.WriteDataSource(source, folder.path(u"Payroll.dsf"_s));
            const auto read = std::dynamic_pointer_cast<QMMDSMSSql>(sources.ReadDataSource(folder.path(u"Payroll.dsf"_s)));
            QVERIFY(read);
            QCOMPARE(QStringList({read->ServerName, read->DatabaseName, read->UserName, read->Password}),
                     QStringList({text, text, text, text}));
        }
    }

    void random_queries_come_back_and_the_list_sees_the_same()
    {
        const Folder folder;
        Random random(20261121);
        for (int i = 0; i < 150; ++i) {
            const Query query = randomQuery(random);
            const QString path = folder.path(u"q%1.rqn"_s.arg(i));
            TomlQueryAccess().WriteFile(query, path);
            const auto read = TomlQueryAccess().ReadFile(path);
            QCOMPARE(stored(*read), stored(query));
            QCOMPARE(read->QueryFile, path);
            const auto listed = TomlQueryReader().ReadQuery(path);
            QCOMPARE(listed->Description, query.Description);
            QCOMPARE(listed->ReportFile, query.ReportFile);
            QCOMPARE(listed->OutputSettings.OutputType, query.OutputSettings.OutputType);
            QCOMPARE(listed->QueryFile, path);

            // One value changed in the file as read, then a wholly different query in its place.
            Query changed = *read;
            changed.Description = randomText(random);
            TomlQueryAccess().WriteFile(changed, path);
            QCOMPARE(stored(*TomlQueryAccess().ReadFile(path)), stored(changed));
            Query other = randomQuery(random);
            other.QueryFile = path;
            other.original = read->original;
            TomlQueryAccess().WriteFile(other, path);
            QCOMPARE(stored(*TomlQueryAccess().ReadFile(path)), stored(other));
        }
    }

    void every_key_is_read_and_written()
    {
        const auto tree = [](const QByteArray &text) { return parseToml(text, {}); };
        const QByteArray query = stored(parseQuery(kEveryKeyOfAQuery, {})).toUtf8();
        QVERIFY2(tree(query) == tree(kEveryKeyOfAQuery), query.constData());
        ReportLayout layout = parseLayout(kEveryKeyOfALayout, {});
        layout.original = nullptr;
        QVERIFY2(tree(layoutText(layout, {})) == tree(kEveryKeyOfALayout), layoutText(layout, {}).constData());
        // A title of any kind comes back, in a file as it was read.
        for (const QString &text : nastyTexts()) {
            layout.title = layout.charts.front().title = text;
            const QByteArray written = layoutText(layout, {});
            const auto acts = [](uint c) { return utf8::isHidden(c) || utf8::isSeparator(c); };
            const auto characters = QString::fromUtf8(written).toUcs4();
            QVERIFY2(std::none_of(characters.begin(), characters.end(), acts), written.constData());
            const ReportLayout read = parseLayout(written, {});
            QCOMPARE(QStringList({read.title, read.charts.front().title}), QStringList({text, text}));
            layout.original = read.original;
        }
    }

    void random_layouts_come_back_also_in_place_of_another()
    {
        Random random(20261122);
        ReportLayout before;
        for (int i = 0; i < 150; ++i) {
            ReportLayout layout = randomLayout(random);
            const QByteArray text = layoutText(layout, {});
            ReportLayout read = parseLayout(text, {});
            QCOMPARE(stored(read), stored(layout));
            QCOMPARE(read.warnings, QStringList());
            QCOMPARE(layoutText(read, {}), text);
            layout.original = before.original;
            QCOMPARE(stored(parseLayout(layoutText(layout, {}), {})), stored(read));
            before = read;
        }
    }

    void a_chart_stays_the_table_that_it_was()
    {
        const QByteArray old = "# ours\n[chart] # one\nkind = 'bar'\ntitle = 'A'\nx_mark = 1\n";
        ReportLayout layout = parseLayout(old, {});
        QCOMPARE(layoutText(layout, {}), old);
        layout.charts.front().title = u"B"_s;
        QCOMPARE(layoutText(layout, {}), QByteArray(old).replace("'A'", "\"B\""));
        layout.charts.push_back({.kind = u"pie"_s});
        const QByteArray two = layoutText(layout, {});
        QCOMPARE(two.count("[[chart]]"), 2);
        QVERIFY2(!two.contains("[chart]\n"), two.constData());
        const QByteArray listOfOne = "[[chart]]\nkind = 'bar' # only\n";
        QCOMPARE(layoutText(parseLayout(listOfOne, {}), {}), listOfOne);
    }

    void keys_that_nobody_knows_are_told_with_the_nearest()
    {
        const auto told = [](const QByteArray &text) { return parseLayout(text, {}).warnings.join(u'|'); };
        QCOMPARE(told("[[column]]\nfield = 'a'\ncaptoin = 'A'\n"),
                 u"Line 3: \"captoin\" is not known in [[column]] and has no effect; did you mean \"caption\"?"_s);
        QCOMPARE(told("[page]\nmargin-mm = 5\n"),
                 u"Line 2: \"margin-mm\" is not known in [page] and has no effect; did you mean \"margin_mm\"?"_s);
        QCOMPARE(told("[top]\nfield = 'a'\ncolour = 'red'\n"),
                 u"Line 3: \"colour\" is not known in [top] and has no effect; known are field, value, function, caption, most."_s);
        QCOMPARE(told("titel = 'x'\n[vendor]\nkey = 1\n"),
                 u"Line 1: \"titel\" is not known here and has no effect; did you mean \"title\"?"_s);
        for (const QByteArray &text : {QByteArray("[[group]]\nfield = 'a'\n[[group.subtotal]]\nfield = 'a'\nfuncton = 'sum'\n"),
                                       QByteArray("[[total]]\nfield = 'a'\nCaption = 'x'\n"), QByteArray("[chart]\nkinds = 'bar'\n"),
                                       QByteArray("[[figure]]\nlabel = 'x'\n"), QByteArray("[[colum]]\nfield = 'a'\n"),
                                       QByteArray("[[column]]\nfield = 'a'\n[[column.rule]]\nvalue = 1\nis = '='\n")})
            QCOMPARE(told(text).count(u"is not known"_s), 1);
        QCOMPARE(told("x_owner = 'me'\n[[column]]\nfield = 'a'\nx_note = 1\n[column.words]\ncaptoin = 'any key'\n"), QString());
        const auto refused = errorOf([] { static_cast<void>(parseLayout("[[column]]\nfeild = 'a'\n", u"l.rpt"_s)); });
        QVERIFY2(refused.description().contains(u"\"feild\""_s), qPrintable(refused.description()));
    }

    void random_jobs_come_back_in_order()
    {
        const Folder folder;
        Random random(31);
        TomlJobConfigReader reader;
        const QString path = folder.path(u"Jobs.cfg"_s);
        for (int round = 0; round < 30; ++round) {
            auto jobs = std::make_shared<JobCollection>();
            for (unsigned count = random() % 20; count > 0; --count) {
                auto job = std::make_shared<ScheduledReportJob>();
                job->JobDescription = randomText(random);
                job->QueryFileName = randomText(random);
                job->DateTime = {QDate(1, 1, 1).addDays(static_cast<qint64>(random() % 3'652'058)), static_cast<int>(random() % 86'400)};
                job->Frequency = static_cast<int>(random() % 8) - 2;
                job->JobId = static_cast<std::int32_t>(random());
                jobs->push_back(job);
            }
            reader.SaveJobs(jobs, path);
            const auto read = reader.LoadJobs(path);
            QCOMPARE(read->size(), jobs->size());
            for (std::size_t i = 0; i < jobs->size(); ++i)
                QCOMPARE(*read->at(i), *jobs->at(i));
            // The same file as another program would lay it out takes the library's road and reads the same.
            folder.write(u"Other.cfg"_s, folder.read(u"Jobs.cfg"_s) + "\n[[job]]\n\"id\" = 1\nquery_file = 'q'\n"
                                                                      "next_run = 2024-02-29 23:59:59\n");
            const auto other = reader.LoadJobs(folder.path(u"Other.cfg"_s));
            QCOMPARE(other->size(), jobs->size() + 1);
            for (std::size_t i = 0; i < jobs->size(); ++i)
                QCOMPARE(*other->at(i), *jobs->at(i));
            QCOMPARE(other->back()->DateTime, (WallTime{QDate(2024, 2, 29), 86'399}));
        }
        QCOMPARE(folder.names(), QStringList({u"Jobs.cfg"_s, u"Other.cfg"_s}));
    }

    void a_missing_or_empty_file_is_the_default()
    {
        const Folder folder;
        QCOMPARE(TomlJobConfigReader().LoadJobs(folder.write(u"empty.cfg"_s, {}))->size(), std::size_t{0});
        QCOMPARE(*TomlEmailConfigReader().ReadEmailSettings(folder.path(u"none.cfg"_s)), EmailSettings());
        QCOMPARE(errorOf([&] { (void)TomlDataSourceFileReader().ReadDataSource(folder.path(u"none.dsf"_s)); }).number(), err::fileNotFound);
    }

    void data_sources_keep_class_and_type()
    {
        const Folder folder;
        TomlDataSourceFileReader reader;
        const auto read = [&](const QByteArray &bytes) { return reader.ReadDataSource(folder.write(u"a.dsf"_s, bytes)); };
        const auto server = std::dynamic_pointer_cast<QMMDSMSSql>(read("class = 'QMMDSMSSql'\nconnection_type = -7\nserver = 'S'\n"));
        QVERIFY(server);
        QCOMPARE(server->ConnectionType, 1);
        QCOMPARE(read("format = 1\nclass = 'QMMDSOracle'\n")->className(), u"QMMDSOracle"_s);
        QCOMPARE(read("class = 'QMMDSOther'\nanything = [1, 2]\n")->className(), u"QMMDSOther"_s);
    }

    void files_that_nobody_read_are_set_aside_before_a_save()
    {
        const Folder folder;
        const QString path = folder.write(u"Email.cfg"_s, "server = 'by hand'\n");
        TomlEmailConfigReader(std::make_shared<KnownFiles>()).WriteEmailSettings({}, path);
        QCOMPARE(folder.read(u"Email.cfg.unreadable-1"_s), QByteArray("server = 'by hand'\n"));

        // Read by one reader of the session, written by another: known. Changed meanwhile: not known any more.
        const auto session = std::make_shared<KnownFiles>();
        EmailSettings settings = *TomlEmailConfigReader(session).ReadEmailSettings(path);
        settings.SmtpPort = 587;
        TomlEmailConfigReader(session).WriteEmailSettings(settings, path);
        QCOMPARE(folder.names().size(), 2);
        folder.write(u"Email.cfg"_s, "server = 'by hand again'\n");
        TomlEmailConfigReader(session).WriteEmailSettings(settings, path);
        QCOMPARE(folder.read(u"Email.cfg.unreadable-2"_s), QByteArray("server = 'by hand again'\n"));
        QCOMPARE(TomlEmailConfigReader().ReadEmailSettings(path)->SmtpPort, 587);

        // A file that could not be understood, and one of a class this version does not know.
        const QString source = folder.write(u"Old.dsf"_s, "class = 'QMMDSOther'\n");
        TomlDataSourceFileReader sources(session);
        (void)sources.ReadDataSource(source);
        sources.WriteDataSource(QMMDSOracle(), source);
        QCOMPARE(folder.read(u"Old.dsf.unreadable-1"_s), QByteArray("class = 'QMMDSOther'\n"));
        sources.WriteDataSource(QMMDSMSSql(), source);
        QVERIFY(!folder.names().contains(u"Old.dsf.unreadable-2"_s));
    }

    void a_job_file_changed_by_hand_is_not_lost()
    {
        const Folder folder;
        TomlJobConfigReader reader;
        const QString path = folder.path(u"Jobs.cfg"_s);
        auto jobs = std::make_shared<JobCollection>();
        reader.SaveJobs(jobs, path);
        folder.write(u"Jobs.cfg"_s, "# a note\nformat = 1\n");
        reader.SaveJobs(jobs, path);
        QCOMPARE(folder.read(u"Jobs.cfg.unreadable-1"_s), QByteArray("# a note\nformat = 1\n"));
    }

    void passwords_are_never_readable_by_others()
    {
        if (QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows)
            QSKIP("permission bits say nothing here; platform_windows_test looks at the access lists");
        const Folder folder;
        const QString email = folder.path(u"Email.cfg"_s);
        TomlEmailConfigReader().WriteEmailSettings({}, email);
        const QString source = folder.path(u"a.dsf"_s);
        TomlDataSourceFileReader().WriteDataSource(QMMDSOracle(), source);
        Query query;
        query.dataSource = u"ODBC::DSN=audit;UID=x;pwd=secret"_s;
        const QString queryFile = folder.path(u"q.rqn"_s);
        TomlQueryAccess().WriteFile(query, queryFile);
        for (const QString &path : {email, source, queryFile})
            QVERIFY2((QFileInfo(path).permissions() & (QFile::ReadOther | QFile::WriteOther)) == 0, qPrintable(path));
        // A file that was open to all is closed by the next saving.
        QVERIFY(QFile::setPermissions(email, QFile::permissions(email) | QFile::ReadOther));
        TomlEmailConfigReader().WriteEmailSettings({}, email);
        QVERIFY((QFile::permissions(email) & QFile::ReadOther) == 0);
    }
};

QTEST_GUILESS_MAIN(FrameworkRoundTripTest)
#include "framework_round_trip_test.moc"
