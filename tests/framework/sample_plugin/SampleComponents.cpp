#include "framework/ComponentPlugin.h"

#include "core/RuntimeError.h"

#include <QCoreApplication>

namespace {

class MailReports final : public qm::ReportInterface
{
public:
    void EditQuery(const QString &target) override { qm::raise(qm::err::fileNotFound, target, "sample plug-in"); }
    void GenerateReport(const QString &queryFile, int, bool, bool) override
    {
        QCoreApplication::processEvents(); // as an interface that shows windows of its own
        qm::raise(qm::err::fileNotFound, queryFile, "sample plug-in");
    }
};

class MailQueries final : public qm::QueryAccess
{
public:
    [[nodiscard]] std::shared_ptr<qm::Query> ReadFile(const QString &path) override
    {
        auto query = std::make_shared<qm::Query>();
        query->Description = QStringLiteral("from the plug-in");
        query->QueryFile = path;
        return query;
    }
    void WriteFile(const qm::Query &, const QString &) override {}
};

class SampleComponents final : public QObject, public qm::ComponentPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QmComponentPlugin_iid FILE "plugin.json")
    Q_INTERFACES(qm::ComponentPlugin)

public:
    std::unique_ptr<qm::ReportInterface> createReportInterface(const QString &progId) override
    {
        if (progId == QLatin1String("Contoso.MailQueries"))
            return nullptr;
        return std::make_unique<MailReports>();
    }
    std::unique_ptr<qm::QueryAccess> createQueryAccess(const QString &progId) override
    {
        if (progId != QLatin1String("Contoso.MailQueries"))
            return nullptr;
        return std::make_unique<MailQueries>();
    }
};

} // namespace

#include "SampleComponents.moc"
