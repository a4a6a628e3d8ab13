/// \file
/// ODBC handles that free themselves.
#pragma once

#include "odbc/Diagnostics.h"
#include "platform/OdbcApi.h"

#include <utility>

namespace qm::odbc {

/// One handle; null when it was never allocated. Frees it, and before that ends what hangs on it.
template <SQLSMALLINT Type>
class Handle final
{
public:
    Handle() = default;
    Handle(Handle &&other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    ~Handle()
    {
        if (m_handle)
            SQLFreeHandle(Type, m_handle);
    }

    /// Allocates below \p parent. \returns whether the driver manager gave one.
    bool allocate(SQLHANDLE parent) { return SQL_SUCCEEDED(SQLAllocHandle(Type, parent, &m_handle)); }
    [[nodiscard]] SQLHANDLE get() const { return m_handle; }
    explicit operator bool() const { return m_handle != nullptr; }

private:
    SQLHANDLE m_handle = nullptr;
};

using ConnectionHandle = Handle<SQL_HANDLE_DBC>;
using StatementHandle = Handle<SQL_HANDLE_STMT>;

/// The driver manager's environment, set to ODBC 3.
class Environment final
{
public:
    Environment()
    {
        if (m_handle.allocate(SQL_NULL_HANDLE))
            SQLSetEnvAttr(m_handle.get(), SQL_ATTR_ODBC_VERSION, attribute(SQL_OV_ODBC3), 0);
    }
    [[nodiscard]] SQLHANDLE get() const { return m_handle.get(); }

    /// A number where ODBC's attribute calls take a pointer.
    static SQLPOINTER attribute(SQLULEN number) { return reinterpret_cast<SQLPOINTER>(number); }

private:
    Handle<SQL_HANDLE_ENV> m_handle;
};

/// All records of the last call on \p handle, in the driver's order.
[[nodiscard]] std::vector<Diagnostic> diagnosticsOf(SQLSMALLINT handleType, SQLHANDLE handle);

} // namespace qm::odbc
