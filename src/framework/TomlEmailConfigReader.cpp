#include "framework/ConfigReaders.h"
#include "framework/OwnPaths.h"
#include "framework/TableReader.h"
#include "framework/toml/TomlText.h"
#include "platform/Files.h"

namespace qm {
namespace {

std::int32_t int32Of(const TableReader &file, const char *key, std::int32_t otherwise)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(file.integer(key, otherwise, Limits::min(), Limits::max()));
}

} // namespace

TomlEmailConfigReader::TomlEmailConfigReader(std::shared_ptr<KnownFiles> known)
    : m_known(known ? std::move(known) : std::make_shared<KnownFiles>())
{
}

std::shared_ptr<EmailSettings> TomlEmailConfigReader::ReadEmailSettings(const QString &path)
{
    auto settings = std::make_shared<EmailSettings>();
    if (!files::entryExists(path))
        return settings;
    const QByteArray bytes = files::readAll(path);
    const TomlNode root = parseToml(bytes, path);
    const TableReader file(root, path);
    file.checkFormat();
    file.refuseUnknown({QStringLiteral("format"), QStringLiteral("server"), QStringLiteral("port"), QStringLiteral("timeout_ms"),
                        QStringLiteral("user"), QStringLiteral("password")});
    settings->SmtpServer = file.text("server");
    settings->SmtpPort = int32Of(file, "port", settings->SmtpPort);
    settings->Timeout = int32Of(file, "timeout_ms", settings->Timeout);
    settings->SmtpUser = file.text("user");
    settings->SmtpPassword = file.text("password");
    m_known->remember(path, bytes);
    return settings;
}

void TomlEmailConfigReader::WriteEmailSettings(const EmailSettings &settings, const QString &path)
{
    requireAbsolute(path);
    TomlNode root;
    root.put(QStringLiteral("format"), TomlNode::ofInteger(1));
    root.put(QStringLiteral("server"), TomlNode::ofText(settings.SmtpServer));
    root.put(QStringLiteral("port"), TomlNode::ofInteger(settings.SmtpPort));
    root.put(QStringLiteral("timeout_ms"), TomlNode::ofInteger(settings.Timeout));
    root.put(QStringLiteral("user"), TomlNode::ofText(settings.SmtpUser));
    root.put(QStringLiteral("password"), TomlNode::ofText(settings.SmtpPassword));
    const QByteArray bytes = toml_text::document(root);
    m_known->protect(path, bytes);
    files::saveAtomically(path, bytes, files::Privacy::Secret);
    m_known->remember(path, bytes);
}

} // namespace qm
