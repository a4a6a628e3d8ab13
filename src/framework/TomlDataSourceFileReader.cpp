#include "core/RuntimeError.h"
#include "framework/ConfigReaders.h"
#include "framework/OwnPaths.h"
#include "framework/TableReader.h"
#include "framework/toml/TomlText.h"
#include "platform/Files.h"

namespace qm {
namespace {

constexpr char kSqlServerClass[] = "QMMDSMSSql";
constexpr char kOracleClass[] = "QMMDSOracle";

/// What a file of a class that this program does not know reads as.
class OtherDatabaseInfo final : public DatabaseInfo
{
public:
    explicit OtherDatabaseInfo(QString name) : m_name(std::move(name)) {}
    [[nodiscard]] QString className() const override { return m_name; }

private:
    QString m_name;
};

std::shared_ptr<DatabaseInfo> readSqlServer(const TableReader &file)
{
    file.refuseUnknown({QStringLiteral("format"), QStringLiteral("class"), QStringLiteral("server"), QStringLiteral("database"),
                        QStringLiteral("user"), QStringLiteral("password"), QStringLiteral("connection_type")});
    auto info = std::make_shared<QMMDSMSSql>();
    info->ServerName = file.text("server");
    info->DatabaseName = file.text("database");
    info->UserName = file.text("user");
    info->Password = file.text("password");
    using Limits = std::numeric_limits<qint64>;
    info->ConnectionType = file.integer("connection_type", 0, Limits::min(), Limits::max()) != 0 ? 1 : 0;
    return info;
}

std::shared_ptr<DatabaseInfo> readOracle(const TableReader &file)
{
    file.refuseUnknown(
        {QStringLiteral("format"), QStringLiteral("class"), QStringLiteral("server"), QStringLiteral("user"), QStringLiteral("password")});
    auto info = std::make_shared<QMMDSOracle>();
    info->ServerName = file.text("server");
    info->UserName = file.text("user");
    info->Password = file.text("password");
    return info;
}

TomlNode treeOf(const DatabaseInfo &info)
{
    TomlNode root;
    root.put(QStringLiteral("format"), TomlNode::ofInteger(1));
    root.put(QStringLiteral("class"), TomlNode::ofText(info.className()));
    const auto put = [&root](const char *key, const QString &value) { root.put(QString::fromLatin1(key), TomlNode::ofText(value)); };
    if (const auto *sqlServer = dynamic_cast<const QMMDSMSSql *>(&info)) {
        put("server", sqlServer->ServerName);
        put("database", sqlServer->DatabaseName);
        put("user", sqlServer->UserName);
        put("password", sqlServer->Password);
        root.put(QStringLiteral("connection_type"), TomlNode::ofInteger(sqlServer->ConnectionType != 0 ? 1 : 0));
    } else if (const auto *oracle = dynamic_cast<const QMMDSOracle *>(&info)) {
        put("server", oracle->ServerName);
        put("user", oracle->UserName);
        put("password", oracle->Password);
    } else {
        raise(err::noSuchMember, QStringLiteral("a data source of class \"%1\" cannot be written.").arg(info.className()),
              kFrameworkSource);
    }
    return root;
}

} // namespace

TomlDataSourceFileReader::TomlDataSourceFileReader(std::shared_ptr<KnownFiles> known)
    : m_known(known ? std::move(known) : std::make_shared<KnownFiles>())
{
}

std::shared_ptr<DatabaseInfo> TomlDataSourceFileReader::ReadDataSource(const QString &path)
{
    const QByteArray bytes = files::readAll(path);
    const TomlNode root = parseToml(bytes, path);
    const TableReader file(root, path);
    file.checkFormat();
    const QString name = file.requiredText("class");
    std::shared_ptr<DatabaseInfo> info;
    if (name == QLatin1String(kSqlServerClass))
        info = readSqlServer(file);
    else if (name == QLatin1String(kOracleClass))
        info = readOracle(file);
    else
        return std::make_shared<OtherDatabaseInfo>(name);
    m_known->remember(path, bytes);
    return info;
}

void TomlDataSourceFileReader::WriteDataSource(const DatabaseInfo &info, const QString &path)
{
    requireAbsolute(path);
    requirePlainConfigName(path);
    const QByteArray bytes = toml_text::document(treeOf(info));
    m_known->protect(path, bytes);
    files::saveAtomically(path, bytes, files::Privacy::Secret);
    m_known->remember(path, bytes);
}

} // namespace qm
