#include "engine/rows/OdbcColumns.h"

#include "core/Failure.h"
#include "engine/rows/OdbcValues.h"
#include "odbc/Wide.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

/// Type numbers of the drivers for SQL Server, beyond ODBC's own.
constexpr SQLSMALLINT kServerTime = -154, kServerTimestampOffset = -155, kServerXml = -152;
/// Characters of the buffer of a text whose length is not known, or larger.
constexpr SQLULEN kUsualCharacters = 1000, kMostCharacters = 4000;
constexpr SQLLEN kUsualBytes = 1024, kMostBytes = 8000;
constexpr SQLULEN kNumberCharacters = 48, kTimeCharacters = 48;
/// Drivers that do not know a text's length report one of these.
constexpr SQLULEN kUnknownLength = 255;
constexpr std::size_t kPieceBytes = std::size_t{1} << 15;

SQLLEN numberOf(SQLHANDLE statement, SQLUSMALLINT index, SQLUSMALLINT field)
{
    SQLLEN number = 0;
    SQLColAttributeW(statement, index, field, nullptr, 0, nullptr, &number);
    return number;
}

QString textOf(SQLHANDLE statement, SQLUSMALLINT index, SQLUSMALLINT field)
{
    std::array<SQLWCHAR, 256> text{};
    SQLSMALLINT bytes = 0;
    if (!SQL_SUCCEEDED(SQLColAttributeW(statement, index, field, text.data(), static_cast<SQLSMALLINT>(sizeof text), &bytes, nullptr)))
        return {};
    return odbc::fromWide(text.data(), std::clamp<qsizetype>(bytes / 2, 0, static_cast<qsizetype>(text.size()) - 1));
}

} // namespace

OdbcColumns::OdbcColumns(SQLHANDLE statement, const odbc::Connection &connection)
    : m_statement(statement), m_engine(connection.engine()), m_getData(connection.getDataExtensions())
{
    SQLSMALLINT count = 0;
    if (!SQL_SUCCEEDED(SQLNumResultCols(statement, &count)))
        raiseStatement(QStringLiteral("describing the result"));
    if (count <= 0)
        failReport(QStringLiteral("The SQL gives no columns. A report needs a statement that selects."));
    for (SQLSMALLINT i = 1; i <= count; ++i)
        m_columns.push_back(describe(static_cast<SQLUSMALLINT>(i)));
    decideBinding();
    bindAll();
}

std::vector<ResultColumn> OdbcColumns::resultColumns() const
{
    std::vector<ResultColumn> result;
    for (const Column &column : m_columns)
        result.push_back({column.name, column.declaredType});
    return result;
}

OdbcColumns::Column OdbcColumns::describe(SQLUSMALLINT index) const
{
    std::array<SQLWCHAR, 512> name{};
    SQLSMALLINT units = 0, sqlType = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    if (!SQL_SUCCEEDED(SQLDescribeColW(m_statement, index, name.data(), static_cast<SQLSMALLINT>(name.size()), &units, &sqlType, &size,
                                       &digits, &nullable)))
        raiseStatement(QStringLiteral("describing column %1 of the result").arg(index));
    Column column;
    const QString text = odbc::fromWide(name.data(), std::min<qsizetype>(units, static_cast<qsizetype>(name.size()) - 1));
    column.name = (text.isEmpty() ? QStringLiteral("column %1").arg(index) : text).toStdString();
    classify(column, sqlType, size, numberOf(m_statement, index, SQL_DESC_UNSIGNED) == SQL_TRUE,
             textOf(m_statement, index, SQL_DESC_TYPE_NAME));
    return column;
}

void OdbcColumns::classify(Column &column, SQLSMALLINT sqlType, SQLULEN size, bool isUnsigned, const QString &typeName) const
{
    const auto be = [&](Kind kind, SQLSMALLINT cType, SQLLEN bytes, const char *declared) {
        column.kind = kind;
        column.cType = cType;
        column.bytes = bytes;
        column.declaredType = declared;
    };
    const auto beText = [&] {
        const bool unknown =
            size == 0 || size > kMostCharacters || size == kUnknownLength || sqlType == SQL_WLONGVARCHAR || sqlType == SQL_LONGVARCHAR;
        const SQLULEN characters = unknown ? kUsualCharacters : size;
        be(Kind::Wide, SQL_C_WCHAR, static_cast<SQLLEN>((characters + 1) * sizeof(SQLWCHAR)), "VARCHAR");
        column.isOpenEnded = unknown;
    };
    switch (sqlType) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
        return be(Kind::Integer, SQL_C_SBIGINT, sizeof(SQLBIGINT), "INTEGER");
    case SQL_BIGINT:
        return isUnsigned ? be(Kind::Decimal, SQL_C_CHAR, kNumberCharacters, "INTEGER")
                          : be(Kind::Integer, SQL_C_SBIGINT, sizeof(SQLBIGINT), "INTEGER");
    case SQL_BIT:
        return be(Kind::Bit, SQL_C_BIT, 1, "BOOLEAN");
    case SQL_REAL:
        return be(Kind::Float, SQL_C_FLOAT, sizeof(SQLREAL), "REAL");
    case SQL_FLOAT:
    case SQL_DOUBLE:
        if (typeName.compare(QStringLiteral("money"), Qt::CaseInsensitive) == 0) // PostgreSQL's has a currency sign
            return beText();
        return be(Kind::Real, SQL_C_DOUBLE, sizeof(SQLDOUBLE), "REAL");
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        be(Kind::Decimal, SQL_C_CHAR, static_cast<SQLLEN>(std::max<SQLULEN>(size, kNumberCharacters) + 4), "DECIMAL");
        column.isOpenEnded = m_engine.hasEndlessDecimals;
        return;
    case SQL_TYPE_DATE:
        return be(Kind::Date, SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT), "DATE");
    case SQL_TYPE_TIMESTAMP:
        return be(Kind::Timestamp, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), "TIMESTAMP");
    case SQL_TYPE_TIME:
    case kServerTime:
        be(Kind::Ascii, SQL_C_CHAR, kTimeCharacters, "TIME");
        column.isTime = true;
        return;
    case kServerTimestampOffset:
        return be(Kind::Ascii, SQL_C_CHAR, kTimeCharacters, "VARCHAR");
    case SQL_GUID:
        return be(Kind::Ascii, SQL_C_CHAR, kTimeCharacters, "VARCHAR");
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY: {
        const bool unknown = size == 0 || size > static_cast<SQLULEN>(kMostBytes) || sqlType == SQL_LONGVARBINARY;
        be(Kind::Binary, SQL_C_BINARY, unknown ? kUsualBytes : static_cast<SQLLEN>(size), "BLOB");
        column.isOpenEnded = unknown;
        return;
    }
    case kServerXml:
        size = 0;
        return beText();
    default:
        return beText();
    }
}

void OdbcColumns::decideBinding()
{
    if (m_getData & SQL_GD_BOUND)
        return; // what does not fit is read again
    const bool anyColumn = (m_getData & SQL_GD_ANY_COLUMN) && (m_getData & SQL_GD_ANY_ORDER);
    bool behindLong = false;
    for (Column &column : m_columns) {
        behindLong = behindLong || column.isOpenEnded;
        column.isBound = anyColumn ? !column.isOpenEnded : !behindLong;
    }
}

void OdbcColumns::bindAll()
{
    SQLUSMALLINT index = 0;
    for (Column &column : m_columns) {
        ++index;
        column.buffer.resize(static_cast<std::size_t>(column.bytes) / sizeof(std::max_align_t) + 1);
        if (column.isBound &&
            !SQL_SUCCEEDED(SQLBindCol(m_statement, index, column.cType, column.buffer.data(), column.bytes, &column.indicator)))
            raiseStatement(QStringLiteral("binding column %1 of the result").arg(index));
    }
}

void OdbcColumns::addRow(RowBlock &block)
{
    SQLUSMALLINT index = 0;
    for (Column &column : m_columns)
        addCell(column, ++index, block);
}

void OdbcColumns::addCell(Column &column, SQLUSMALLINT index, RowBlock &block)
{
    const bool variable =
        column.kind == Kind::Wide || column.kind == Kind::Ascii || column.kind == Kind::Decimal || column.kind == Kind::Binary;
    if (!column.isBound && !variable &&
        !SQL_SUCCEEDED(SQLGetData(m_statement, index, column.cType, column.buffer.data(), column.bytes, &column.indicator)))
        raiseStatement(QStringLiteral("reading column \"%1\"").arg(QString::fromStdString(column.name)));
    if (variable && (!column.isBound || isCut(column))) {
        if (column.isBound && !(m_getData & SQL_GD_BOUND))
            failReport(
                QStringLiteral("A value of the column \"%1\" is longer than the driver declared, and this driver cannot give the rest. "
                               "Convert the column to a longer type in the SQL.")
                    .arg(QString::fromStdString(column.name)));
        if (readInPieces(column, index))
            addContent(column, m_pieces.data(), m_pieces.size(), block);
        else
            block.add(Value::ofNull());
        return;
    }
    if (column.indicator == SQL_NULL_DATA) {
        block.add(Value::ofNull());
        return;
    }
    switch (column.kind) {
    case Kind::Integer:
        return block.add(Value::of(std::int64_t{column.as<SQLBIGINT>()}));
    case Kind::Bit:
        return block.add(Value::of(std::int64_t{column.as<SQLCHAR>() != 0}));
    case Kind::Real:
        return block.add(Value::of(column.as<SQLDOUBLE>()));
    case Kind::Float:
        return block.add(Value::of(odbc_values::widened(column.as<SQLREAL>())));
    case Kind::Date:
        return block.add(Value::ofText(block.take(odbc_values::write(column.as<SQL_DATE_STRUCT>(), block.room(odbc_values::kRoom)))));
    case Kind::Timestamp:
        return block.add(Value::ofText(block.take(odbc_values::write(column.as<SQL_TIMESTAMP_STRUCT>(), block.room(odbc_values::kRoom)))));
    default:
        addContent(column, reinterpret_cast<const char *>(column.buffer.data()), static_cast<std::size_t>(column.indicator), block);
    }
}

bool OdbcColumns::isCut(const Column &column) const
{
    const SQLLEN terminator = column.kind == Kind::Wide ? static_cast<SQLLEN>(sizeof(SQLWCHAR)) : column.kind == Kind::Binary ? 0 : 1;
    return column.indicator == SQL_NO_TOTAL || column.indicator > column.bytes - terminator;
}

bool OdbcColumns::readInPieces(const Column &column, SQLUSMALLINT index)
{
    const std::size_t terminator = column.kind == Kind::Wide ? sizeof(SQLWCHAR) : column.kind == Kind::Binary ? 0 : 1;
    std::size_t have = 0;
    for (;;) {
        m_pieces.resize(have + kPieceBytes);
        SQLLEN left = 0;
        const SQLRETURN code =
            SQLGetData(m_statement, index, column.cType, m_pieces.data() + have, static_cast<SQLLEN>(kPieceBytes), &left);
        if (code == SQL_NO_DATA)
            break;
        if (!SQL_SUCCEEDED(code))
            raiseStatement(QStringLiteral("reading column \"%1\"").arg(QString::fromStdString(column.name)));
        if (left == SQL_NULL_DATA)
            return false;
        const std::size_t full = kPieceBytes - terminator;
        const bool more = left == SQL_NO_TOTAL || static_cast<std::size_t>(left) > full;
        have += more ? full : static_cast<std::size_t>(left);
        if (!more)
            break;
    }
    m_pieces.resize(have);
    return true;
}

void OdbcColumns::addContent(const Column &column, const char *bytes, std::size_t size, RowBlock &block) const
{
    switch (column.kind) {
    case Kind::Wide: {
        const std::size_t units = size / sizeof(SQLWCHAR);
        char *const room = block.room(3 * units);
        return block.add(Value::ofText(block.take(odbc::writeUtf8(reinterpret_cast<const SQLWCHAR *>(bytes), units, room))));
    }
    case Kind::Decimal:
        if (const auto number = odbc_values::exactNumber({bytes, size}))
            return block.add(*number);
        break;
    default:
        break;
    }
    if (column.isTime)
        size = odbc_values::withoutTrailingZeros({bytes, size}).size();
    const std::string_view kept = block.take(std::copy_n(bytes, size, block.room(size)));
    block.add(column.kind == Kind::Binary ? Value::ofBlob(kept) : Value::ofText(kept));
}

void OdbcColumns::raiseStatement(const QString &doing) const
{
    failReport(QStringLiteral("The database failed while %1: %2.")
                   .arg(doing, odbc::shown(odbc::mostTelling(odbc::diagnosticsOf(SQL_HANDLE_STMT, m_statement)))));
}

} // namespace qm
