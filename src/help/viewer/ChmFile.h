/// \file
/// Reading of compiled HTML help files.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace qm {

/// One open ".chm" file: a store of objects by absolute path ("/schedule.html"), letter case ignored.
class ChmFile final
{
public:
    /// \throws RuntimeError 53 when there is no such file, 321 when it cannot be read as a help file.
    explicit ChmFile(const QString &path);
    ~ChmFile();
    ChmFile(const ChmFile &) = delete;
    ChmFile &operator=(const ChmFile &) = delete;

    /// The object's bytes; nothing when it is missing or damaged.
    [[nodiscard]] std::optional<QByteArray> read(const QString &objectPath) const;

private:
    struct Handle;
    std::unique_ptr<Handle> m_handle;
};

} // namespace qm
