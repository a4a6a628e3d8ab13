/// \file
/// The columns of an ODBC result: described, bound, and turned into values.
#pragma once

#include "engine/rows/RowBlock.h"
#include "engine/rows/RowSource.h"
#include "odbc/Connection.h"

#include <vector>

namespace qm {

/// Reads the rows of one executed statement. Short values arrive in bound buffers. A value that did not fit is read again in pieces where
/// the driver can do that; where it cannot, columns of unknown or great length are not bound but read in pieces, and with them every column
/// behind the first of them. No value is ever cut.
///
/// Decimals become integers or reals where these hold them exactly, else texts with all digits. Times without their zeros behind the
/// decimal point; booleans 0 or 1.
class OdbcColumns final
{
public:
    /// Describes and binds. \throws RuntimeError reportFailed with the driver's words.
    OdbcColumns(SQLHANDLE statement, const odbc::Connection &connection);

    [[nodiscard]] std::vector<ResultColumn> resultColumns() const;
    /// Adds the row that was just fetched to \p block. \throws RuntimeError reportFailed.
    void addRow(RowBlock &block);

private:
    enum class Kind { Integer, Bit, Real, Float, Decimal, Date, Timestamp, Ascii, Wide, Binary };

    struct Column
    {
        std::string name, declaredType;
        Kind kind = Kind::Wide;
        SQLSMALLINT cType = SQL_C_WCHAR;
        bool isTime = false;
        bool isOpenEnded = false; ///< may be longer than its buffer
        bool isBound = true;
        std::vector<std::max_align_t> buffer;
        SQLLEN bytes = 0; ///< size of the buffer
        SQLLEN indicator = 0;

        template <class T>
        [[nodiscard]] const T &as() const
        {
            return *reinterpret_cast<const T *>(buffer.data());
        }
    };

    [[nodiscard]] Column describe(SQLUSMALLINT index) const;
    void classify(Column &column, SQLSMALLINT sqlType, SQLULEN size, bool isUnsigned, const QString &typeName) const;
    void decideBinding();
    void bindAll();

    void addCell(Column &column, SQLUSMALLINT index, RowBlock &block);
    [[nodiscard]] bool isCut(const Column &column) const;
    /// The whole of a value, in pieces. \returns false for NULL.
    bool readInPieces(const Column &column, SQLUSMALLINT index);
    void addContent(const Column &column, const char *bytes, std::size_t size, RowBlock &block) const;
    [[noreturn]] void raiseStatement(const QString &doing) const;

    SQLHANDLE m_statement;
    const odbc::Engine &m_engine;
    SQLUINTEGER m_getData;
    std::vector<Column> m_columns;
    std::vector<char> m_pieces;
};

} // namespace qm
