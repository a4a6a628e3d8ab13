#include "OdbcRows.h"
#include "reporting/editor/QueryProbe.h"
#include "reporting/editor/SqlSchema.h"
#include "support/DatabaseServers.h"
#include "support/ErrorOf.h"
#include "support/Fakes.h"

#include <QtTest>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

/// What the query editor asks of a database server: is the SQL right, which tables are there, what are the first rows.
class OdbcEditorTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TdsServer> m_tds;
    std::unique_ptr<PostgresServer> m_postgres;
    FakeClock m_clock{WallTime{QDate(2026, 1, 1), 0}};

    [[nodiscard]] ProbeRequest request(bool onPostgres, const char *sql) const
    {
        Query query;
        query.dataSource = u"ODBC::"_s + (onPostgres ? m_postgres->connection() : m_tds->connection());
        query.sql = QString::fromUtf8(sql);
        return {std::make_shared<const Query>(query), {}, {}, m_clock};
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *driver : {"FreeTDS", "PostgreSQL Unicode"})
            if (const QString missing = missingDriver(QString::fromLatin1(driver)); !missing.isEmpty())
                QSKIP(qPrintable(missing));
        m_tds = std::make_unique<TdsServer>(
            "CREATE TABLE event(id int, name nvarchar(40), seen datetime); CREATE VIEW latest AS SELECT id FROM event;"
            "INSERT INTO event VALUES(1, 'Ż', '2026-01-01')");
        QVERIFY2(m_tds->problem().isEmpty(), qPrintable(m_tds->problem()));
        m_postgres = std::make_unique<PostgresServer>();
        if (!m_postgres->problem().isEmpty())
            QSKIP(qPrintable(m_postgres->problem()));
        QVERIFY(!m_postgres
                     ->run(u"CREATE TABLE event AS SELECT g AS id, 'n' || g AS name, now() AS seen FROM generate_series(1, 500) g;"
                           "CREATE VIEW latest AS SELECT id FROM event"_s)
                     .isNull());
    }

    void tables_views_and_columns_are_listed_data()
    {
        QTest::addColumn<bool>("onPostgres");
        QTest::newRow("postgresql") << true;
        QTest::newRow("sql server") << false;
    }
    void tables_views_and_columns_are_listed()
    {
        QFETCH(bool, onPostgres);
        QStringList names;
        for (const SchemaTable &table : readSchema(odbcSource(onPostgres ? m_postgres->connection() : m_tds->connection()), nullptr)) {
            QStringList columns;
            for (const SchemaColumn &column : table.columns)
                columns << column.name;
            names << table.name + (table.isView ? u" view "_s : u" table "_s) + columns.join(u',');
        }
        QCOMPARE(names, (QStringList{u"event table id,name,seen"_s, u"latest view id"_s}));
    }

    void sql_is_checked_without_running_it_data() { tables_views_and_columns_are_listed_data(); }
    void sql_is_checked_without_running_it()
    {
        QFETCH(bool, onPostgres);
        const auto told = [&](const char *sql) { return errorOf([&] { checkSql(request(onPostgres, sql), nullptr); }).description(); };
        QCOMPARE(told("SELECT id FROM event WHERE name = :name AND id > :least AND seen >= :date_from"), QString());
        QVERIFY2(told("SELECT id\nFROM nosuch").contains(u"in line 2"_s), qPrintable(told("SELECT id\nFROM nosuch")));
        QVERIFY(told("DELETE FROM event").contains(u"only read"_s));
    }

    void the_first_rows_are_shown()
    {
        const ProbeRows rows = readFirstRows(request(true, "SELECT id, name, NULL AS none FROM event ORDER BY id"), 2, nullptr);
        QCOMPARE(rows.columns, (QStringList{u"id"_s, u"name"_s, u"none"_s}));
        QCOMPARE(rows.rows.size(), std::size_t{2});
        QVERIFY(rows.more && rows.rows[1][1] == u"n2"_s && !rows.rows[1][2]);
    }
};

QTEST_MAIN(OdbcEditorTest)
#include "odbc_editor_test.moc"
