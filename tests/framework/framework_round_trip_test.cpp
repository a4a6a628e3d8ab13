// What is written is read back the same, in every format, for any text.
#include "FormatSamples.h"
#include "framework/ConfigReaders.h"
#include "framework/QueryFiles.h"

#include <QFileInfo>

using namespace qm;
using namespace qm::test;

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
        parameter.name = QStringLiteral("p%1").arg(count);
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
    output.format =
        QStringList{QStringLiteral("pdf"), QStringLiteral("html"), QStringLiteral("xlsx"), QStringLiteral("csv")}.at(random() % 4);
    output.file = randomText(random);
    output.csvByteOrderMark = random() % 2 == 0;
    output.csvGuardFormulas = random() % 2 == 0;
    output.email = EmailOutput{randomText(random),  randomTexts(random), randomTexts(random),
                               randomTexts(random), randomText(random),  randomText(random)};
    output.printer = {randomText(random), 1 + static_cast<int>(random() % 999)};
    return query;
}

/// Every stored member, so that a difference is shown by name.
QStringList membersOf(const Query &query)
{
    QStringList members{query.Description,
                        query.ReportFile,
                        query.dataSource,
                        query.sql,
                        QString::number(query.rowLimit),
                        QString::number(query.timeoutSeconds),
                        query.period.used ? QStringLiteral("used ") + query.period.range : QString()};
    for (auto it = query.sqlFor.cbegin(); it != query.sqlFor.cend(); ++it)
        members << it.key() << it.value();
    for (const QueryParameter &parameter : query.parameters)
        members << parameter.name << parameter.label << QString::number(static_cast<int>(parameter.type))
                << (parameter.hasDefault ? QStringLiteral("default ") + parameter.defaultValue : QString()) << parameter.values;
    const OutputSettings &output = query.OutputSettings;
    members << QString::number(output.OutputType) << output.format << output.file << QString::number(output.csvByteOrderMark)
            << QString::number(output.csvGuardFormulas) << output.email.from << QStringLiteral("to") << output.email.to
            << QStringLiteral("cc") << output.email.cc << QStringLiteral("bcc") << output.email.bcc << output.email.subject
            << output.email.body << output.printer.name << QString::number(output.printer.copies);
    return members;
}

std::vector<LayoutAggregate> randomAggregates(Random &random)
{
    std::vector<LayoutAggregate> aggregates;
    for (unsigned count = random() % 3; count > 0; --count) {
        LayoutAggregate aggregate{randomText(random), static_cast<Aggregate>(random() % 5), randomText(random)};
        if (aggregate.field.isEmpty())
            aggregate.function = Aggregate::Count;
        aggregates.push_back(aggregate);
    }
    return aggregates;
}

ReportLayout randomLayout(Random &random)
{
    ReportLayout layout;
    layout.title = randomText(random);
    layout.subtitle = randomText(random);
    layout.page = LayoutPage{static_cast<PageSize>(random() % 5), static_cast<PageOrientation>(random() % 2), (random() % 1000) / 10.0};
    layout.header = LayoutBand{randomText(random), randomText(random), randomText(random)};
    layout.footer = LayoutBand{randomText(random), randomText(random), randomText(random)};
    layout.onlyListed = random() % 2 == 0;
    for (unsigned count = random() % 4; count > 0; --count)
        layout.columns.push_back(LayoutColumn{randomText(random), randomText(random), (random() % 1000) / 7.0,
                                              static_cast<Alignment>(random() % 4), randomText(random), random() % 2 == 0,
                                              random() % 2 == 0});
    for (unsigned count = random() % 3; count > 0; --count)
        layout.groups.push_back(LayoutGroup{randomText(random), random() % 2 == 0, randomAggregates(random)});
    layout.totals = randomAggregates(random);
    layout.chart.kind = QStringList{QString(), QStringLiteral("pie"), QStringLiteral("stacked-column")}.at(random() % 3);
    layout.chart.title = randomText(random);
    layout.chart.category = randomText(random);
    layout.chart.series = randomText(random);
    layout.chart.values = randomTexts(random);
    layout.chart.top = static_cast<int>(random() % 20);
    layout.chart.other = random() % 2 == 0;
    return layout;
}

void addAggregates(QStringList &members, const std::vector<LayoutAggregate> &aggregates)
{
    for (const LayoutAggregate &aggregate : aggregates)
        members << aggregate.field << QString::number(static_cast<int>(aggregate.function)) << aggregate.caption;
    members << QStringLiteral("end of aggregates");
}

QStringList membersOf(const ReportLayout &layout)
{
    QStringList members{layout.title,
                        layout.subtitle,
                        QString::number(static_cast<int>(layout.page.size)),
                        QString::number(static_cast<int>(layout.page.orientation)),
                        QString::number(layout.page.marginMm, 'g', 17),
                        layout.header.left,
                        layout.header.centre,
                        layout.header.right,
                        layout.footer.left,
                        layout.footer.centre,
                        layout.footer.right,
                        QString::number(layout.onlyListed)};
    for (const LayoutColumn &column : layout.columns)
        members << column.field << column.caption << QString::number(column.widthMm, 'g', 17)
                << QString::number(static_cast<int>(column.alignment)) << column.format << QString::number(column.visible)
                << QString::number(column.wrap);
    for (const LayoutGroup &group : layout.groups) {
        members << group.field << QString::number(group.newPage);
        addAggregates(members, group.subtotals);
    }
    addAggregates(members, layout.totals);
    members << layout.chart.kind << layout.chart.title << layout.chart.category << layout.chart.series << layout.chart.values
            << QString::number(layout.chart.top) << QString::number(layout.chart.other);
    return members;
}

} // namespace

class FrameworkRoundTripTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void each_nasty_text_comes_back_from_every_kind_of_file()
    {
        const Folder folder;
        const QStringList texts = nastyTexts();
        for (const QString &text : texts) {
            EmailSettings settings;
            settings.SmtpServer = settings.SmtpUser = settings.SmtpPassword = text;
            TomlEmailConfigReader email;
            email.WriteEmailSettings(settings, folder.path(QStringLiteral("Email.cfg")));
            QCOMPARE(*email.ReadEmailSettings(folder.path(QStringLiteral("Email.cfg"))), settings);

            QMMDSMSSql source;
            source.ServerName = source.DatabaseName = source.UserName = source.Password = text;
            source.ConnectionType = 1;
            TomlDataSourceFileReader sources;
            sources.WriteDataSource(source, folder.path(QStringLiteral("Payroll.dsf")));
            const auto read = std::dynamic_pointer_cast<QMMDSMSSql>(sources.ReadDataSource(folder.path(QStringLiteral("Payroll.dsf"))));
            QVERIFY(read);
            QCOMPARE(QStringList({read->ServerName, read->DatabaseName, read->UserName, read->Password}),
                     QStringList({text, text, text, text}));

            Query query;
            query.Description = query.sql = text;
            query.sqlFor.insert(text, text);
            QFile::remove(folder.path(QStringLiteral("q.rqn")));
            TomlQueryAccess().WriteFile(query, folder.path(QStringLiteral("q.rqn")));
            QCOMPARE(membersOf(*TomlQueryAccess().ReadFile(folder.path(QStringLiteral("q.rqn")))), membersOf(query));
            QCOMPARE(TomlQueryReader().ReadQuery(folder.path(QStringLiteral("q.rqn")))->Description, text);
        }
    }

    void random_queries_come_back_and_the_list_sees_the_same()
    {
        const Folder folder;
        Random random(20261121);
        for (int i = 0; i < 150; ++i) {
            const Query query = randomQuery(random);
            const QString path = folder.path(QStringLiteral("q%1.rqn").arg(i));
            TomlQueryAccess().WriteFile(query, path);
            const auto read = TomlQueryAccess().ReadFile(path);
            QCOMPARE(membersOf(*read), membersOf(query));
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
            QCOMPARE(membersOf(*TomlQueryAccess().ReadFile(path)), membersOf(changed));
            Query other = randomQuery(random);
            other.QueryFile = path;
            other.original = read->original;
            TomlQueryAccess().WriteFile(other, path);
            QCOMPARE(membersOf(*TomlQueryAccess().ReadFile(path)), membersOf(other));
        }
    }

    void random_layouts_come_back()
    {
        const Folder folder;
        Random random(7);
        TomlLayoutReader layouts;
        const QString path = folder.path(QStringLiteral("l.rpt"));
        for (int i = 0; i < 150; ++i) {
            const ReportLayout layout = randomLayout(random);
            layouts.WriteLayout(layout, path);
            ReportLayout read = layouts.ReadLayout(path);
            QCOMPARE(membersOf(read), membersOf(layout));
            ReportLayout other = randomLayout(random);
            other.original = read.original;
            layouts.WriteLayout(other, path);
            QCOMPARE(membersOf(layouts.ReadLayout(path)), membersOf(other));
        }
    }

    void random_jobs_come_back_in_order()
    {
        const Folder folder;
        Random random(31);
        TomlJobConfigReader reader;
        const QString path = folder.path(QStringLiteral("Jobs.cfg"));
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
            folder.write(QStringLiteral("Other.cfg"), folder.read(QStringLiteral("Jobs.cfg")) + "\n[[job]]\n\"id\" = 1\nquery_file = 'q'\n"
                                                                                                "next_run = 2024-02-29 23:59:59\n");
            const auto other = reader.LoadJobs(folder.path(QStringLiteral("Other.cfg")));
            QCOMPARE(other->size(), jobs->size() + 1);
            for (std::size_t i = 0; i < jobs->size(); ++i)
                QCOMPARE(*other->at(i), *jobs->at(i));
            QCOMPARE(other->back()->DateTime, (WallTime{QDate(2024, 2, 29), 86'399}));
        }
        QCOMPARE(folder.names(), QStringList({QStringLiteral("Jobs.cfg"), QStringLiteral("Other.cfg")}));
    }

    void a_missing_or_empty_file_is_the_default()
    {
        const Folder folder;
        QCOMPARE(TomlJobConfigReader().LoadJobs(folder.path(QStringLiteral("none.cfg")))->size(), std::size_t{0});
        QCOMPARE(TomlJobConfigReader().LoadJobs(folder.write(QStringLiteral("empty.cfg"), {}))->size(), std::size_t{0});
        QCOMPARE(*TomlEmailConfigReader().ReadEmailSettings(folder.path(QStringLiteral("none.cfg"))), EmailSettings());
        QCOMPARE(errorOf([&] { (void)TomlDataSourceFileReader().ReadDataSource(folder.path(QStringLiteral("none.dsf"))); }).number(),
                 err::fileNotFound);
    }

    void data_sources_keep_class_and_type()
    {
        const Folder folder;
        TomlDataSourceFileReader reader;
        const auto read = [&](const QByteArray &bytes) { return reader.ReadDataSource(folder.write(QStringLiteral("a.dsf"), bytes)); };
        const auto server = std::dynamic_pointer_cast<QMMDSMSSql>(read("class = 'QMMDSMSSql'\nconnection_type = -7\nserver = 'S'\n"));
        QVERIFY(server);
        QCOMPARE(server->ConnectionType, 1);
        QCOMPARE(read("format = 1\nclass = 'QMMDSOracle'\n")->className(), QStringLiteral("QMMDSOracle"));
        QCOMPARE(read("class = 'QMMDSOther'\nanything = [1, 2]\n")->className(), QStringLiteral("QMMDSOther"));
    }

    void files_that_nobody_read_are_set_aside_before_a_save()
    {
        const Folder folder;
        const QString path = folder.write(QStringLiteral("Email.cfg"), "server = 'by hand'\n");
        TomlEmailConfigReader(std::make_shared<KnownFiles>()).WriteEmailSettings({}, path);
        QCOMPARE(folder.read(QStringLiteral("Email.cfg.unreadable-1")), QByteArray("server = 'by hand'\n"));

        // Read by one reader of the session, written by another: known. Changed meanwhile: not known any more.
        const auto session = std::make_shared<KnownFiles>();
        EmailSettings settings = *TomlEmailConfigReader(session).ReadEmailSettings(path);
        settings.SmtpPort = 587;
        TomlEmailConfigReader(session).WriteEmailSettings(settings, path);
        QCOMPARE(folder.names().size(), 2);
        folder.write(QStringLiteral("Email.cfg"), "server = 'by hand again'\n");
        TomlEmailConfigReader(session).WriteEmailSettings(settings, path);
        QCOMPARE(folder.read(QStringLiteral("Email.cfg.unreadable-2")), QByteArray("server = 'by hand again'\n"));
        QCOMPARE(TomlEmailConfigReader().ReadEmailSettings(path)->SmtpPort, 587);

        // A file that could not be understood, and one of a class this version does not know.
        const QString source = folder.write(QStringLiteral("Old.dsf"), "class = 'QMMDSOther'\n");
        TomlDataSourceFileReader sources(session);
        (void)sources.ReadDataSource(source);
        sources.WriteDataSource(QMMDSOracle(), source);
        QCOMPARE(folder.read(QStringLiteral("Old.dsf.unreadable-1")), QByteArray("class = 'QMMDSOther'\n"));
        sources.WriteDataSource(QMMDSMSSql(), source);
        QVERIFY(!folder.names().contains(QStringLiteral("Old.dsf.unreadable-2")));
    }

    void a_job_file_changed_by_hand_is_not_lost()
    {
        const Folder folder;
        TomlJobConfigReader reader;
        const QString path = folder.path(QStringLiteral("Jobs.cfg"));
        auto jobs = std::make_shared<JobCollection>();
        reader.SaveJobs(jobs, path);
        folder.write(QStringLiteral("Jobs.cfg"), "# a note\nformat = 1\n");
        reader.SaveJobs(jobs, path);
        QCOMPARE(folder.read(QStringLiteral("Jobs.cfg.unreadable-1")), QByteArray("# a note\nformat = 1\n"));
    }

    void passwords_are_never_readable_by_others()
    {
        const Folder folder;
        const QString email = folder.path(QStringLiteral("Email.cfg"));
        TomlEmailConfigReader().WriteEmailSettings({}, email);
        const QString source = folder.path(QStringLiteral("a.dsf"));
        TomlDataSourceFileReader().WriteDataSource(QMMDSOracle(), source);
        Query query;
        query.dataSource = QStringLiteral("ODBC::DSN=audit;UID=x;pwd=secret");
        const QString queryFile = folder.path(QStringLiteral("q.rqn"));
        TomlQueryAccess().WriteFile(query, queryFile);
        for (const QString &path : {email, source, queryFile})
            QVERIFY2((QFileInfo(path).permissions() & (QFile::ReadOther | QFile::WriteOther)) == 0, qPrintable(path));
    }
};

QTEST_GUILESS_MAIN(FrameworkRoundTripTest)
#include "framework_round_trip_test.moc"
