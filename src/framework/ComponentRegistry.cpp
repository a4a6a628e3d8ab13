#include "framework/ComponentRegistry.h"

#include "core/ErrorReporter.h"
#include "core/RuntimeError.h"
#include "framework/ComponentPlugin.h"
#include "framework/QueryFiles.h"
#include "framework/SystemComponents.h"
#include "platform/ApplicationLog.h"
#include "platform/Files.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>

#include <algorithm>

namespace qm {
namespace {

bool isWord(QStringView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber() || c == u'_'; });
}

bool isFamily(const QString &identifier)
{
    return identifier.endsWith(QLatin1String(".*"));
}

bool serves(const QString &identifier, const QString &progId)
{
    if (!isFamily(identifier))
        return identifier.compare(progId, Qt::CaseInsensitive) == 0;
    const QStringView prefix = QStringView(identifier).chopped(1);
    return progId.startsWith(prefix, Qt::CaseInsensitive) && isWord(QStringView(progId).mid(prefix.size()));
}

/// One more as long as it lives.
class Counted final
{
public:
    explicit Counted(int &count) : m_count(count) { ++m_count; }
    ~Counted() { --m_count; }
    Q_DISABLE_COPY_MOVE(Counted)

private:
    int &m_count;
};

/// A report interface from elsewhere: of a plug-in or of the operating system.
class ForeignReportInterface final : public ReportInterface
{
public:
    ForeignReportInterface(std::unique_ptr<ReportInterface> component, QString progId, ApplicationLog *log, ComponentWork &work,
                           ForeignRuns *runs)
        : m_component(std::move(component)), m_progId(std::move(progId)), m_log(log), m_work(work), m_runs(runs)
    {
    }
    void EditQuery(const QString &target) override
    {
        const Counted atWork(m_work.edits);
        m_component->EditQuery(target);
    }
    void GenerateReport(const QString &queryFile, int reserved, bool interactive, bool flag) override
    {
        const Counted atWork(m_work.reports);
        const int run = m_runs != nullptr ? m_runs->began(queryFile, m_progId, interactive) : 0;
        std::optional<RuntimeError> failure;
        try {
            m_component->GenerateReport(queryFile, reserved, interactive, flag);
        } catch (...) {
            failure = currentError();
            tell(queryFile, *failure);
        }
        if (m_runs != nullptr)
            m_runs->ended(run, failure);
        if (failure)
            throw *failure;
    }

private:
    void tell(const QString &queryFile, const RuntimeError &error) const
    {
        if (m_log == nullptr)
            return;
        const QString text = QStringLiteral("%1: %2 reported error %3 (%4): %5")
                                 .arg(queryFile, m_progId, QString::number(error.number()), error.source(), error.description());
        if (error.number() == err::noOutputByRule || error.number() == err::cancelledByOperator)
            m_log->info(text);
        else
            m_log->error(text);
    }

    std::unique_ptr<ReportInterface> m_component;
    QString m_progId;
    ApplicationLog *m_log;
    ComponentWork &m_work;
    ForeignRuns *m_runs;
};

bool isNamedIn(const QJsonArray &identifiers, const QString &progId)
{
    return std::any_of(identifiers.begin(), identifiers.end(), [&](const QJsonValue &value) { return serves(value.toString(), progId); });
}

} // namespace

ComponentRegistry::ComponentRegistry(const QString &installPath, ApplicationLog *log)
    : m_componentsFolder(installPath + QStringLiteral("Components") + kSep), m_log(log)
{
    registerQueryAccess(QString::fromLatin1(kQueryAccessFamily), [](const QString &) { return std::make_unique<TomlQueryAccess>(); });
}

void ComponentRegistry::registerReportInterface(const QString &identifier, ReportInterfaceMaker maker)
{
    m_reportInterfaces.push_back({identifier, std::move(maker)});
}

void ComponentRegistry::registerQueryAccess(const QString &identifier, QueryAccessMaker maker)
{
    m_queryAccesses.push_back({identifier, std::move(maker)});
}

std::vector<ComponentPlugin *> ComponentRegistry::pluginsFor(const QString &progId, QStringList &troubles) const
{
    std::vector<ComponentPlugin *> plugins;
    for (const QString &name : files::list(m_componentsFolder, QStringLiteral("*"), attr::normal)) {
        if (!QLibrary::isLibrary(name))
            continue;
        // The loader's own end does not unload: what a plug-in created may outlive it.
        QPluginLoader loader(m_componentsFolder + name);
        const QJsonObject metadata = loader.metaData();
        if (metadata.isEmpty()) {
            troubles.append(m_componentsFolder + name + QStringLiteral(" is not a plug-in for this program: ") + loader.errorString());
            continue;
        }
        const bool ours = metadata.value(QLatin1String("IID")).toString() == QLatin1String(QmComponentPlugin_iid);
        const QJsonObject own = metadata.value(QLatin1String("MetaData")).toObject();
        if (!isNamedIn(own.value(QLatin1String("ProgIds")).toArray(), progId))
            continue;
        auto *const plugin = ours ? qobject_cast<ComponentPlugin *>(loader.instance()) : nullptr;
        if (plugin != nullptr)
            plugins.push_back(plugin);
        else
            troubles.append(
                QStringLiteral("%1%2 names it but cannot be used: %3")
                    .arg(m_componentsFolder, name, ours ? loader.errorString() : QStringLiteral("it is made for another program")));
    }
    return plugins;
}

template <class Component, class Maker, class FromPlugin, class FromSystem>
std::unique_ptr<Component> ComponentRegistry::create(const QString &progId, const std::vector<Entry<Maker>> &entries, const char *kind,
                                                     FromPlugin fromPlugin, FromSystem fromSystem)
{
    for (const bool families : {false, true})
        for (const Entry<Maker> &entry : entries)
            if (isFamily(entry.identifier) == families && serves(entry.identifier, progId))
                return entry.make(progId);
    QStringList troubles;
    if (!progId.isEmpty()) {
        for (ComponentPlugin *const plugin : pluginsFor(progId, troubles))
            if (std::unique_ptr<Component> component = fromPlugin(*plugin))
                return component;
        try {
            if (std::unique_ptr<Component> component = fromSystem())
                return component;
        } catch (const RuntimeError &error) {
            logNotCreated(error.description());
            throw;
        }
    }
    const QString detail = unknown(progId, QString::fromLatin1(kind), troubles);
    logNotCreated(detail);
    raise(err::cannotCreateObject, detail, kFrameworkSource);
}

QString ComponentRegistry::unknown(const QString &progId, const QString &kind, const QStringList &troubles) const
{
    if (progId.isEmpty())
        return QStringLiteral("the package names no %1. Add its identifier to \"Packages.ini\".").arg(kind);
    QString detail = QStringLiteral("\"%1\": no %2 has this identifier, neither built in nor among the plug-ins in %3")
                         .arg(progId, kind, m_componentsFolder);
    const QString system = systemComponentsPlace();
    detail += system.isEmpty() ? QStringLiteral(". Correct it in \"Packages.ini\", or install the plug-in.")
                               : QStringLiteral(" nor %1. Correct it in \"Packages.ini\", or install the component.").arg(system);
    if (!troubles.isEmpty())
        detail += u' ' + troubles.join(QStringLiteral("; "));
    return detail;
}

void ComponentRegistry::logNotCreated(const QString &why) const
{
    if (m_log != nullptr)
        m_log->error(QStringLiteral("component not created: ") + why);
}

std::unique_ptr<ReportInterface> ComponentRegistry::createReportInterface(const QString &progId)
{
    const auto watched = [&](std::unique_ptr<ReportInterface> component) -> std::unique_ptr<ReportInterface> {
        if (!component)
            return nullptr;
        return std::make_unique<ForeignReportInterface>(std::move(component), progId, m_log, m_work, m_runs);
    };
    return create<ReportInterface>(
        progId, m_reportInterfaces, "report interface",
        [&](ComponentPlugin &plugin) { return watched(plugin.createReportInterface(progId)); },
        [&] { return watched(systemReportInterface(progId)); });
}

std::unique_ptr<QueryAccess> ComponentRegistry::createQueryAccess(const QString &progId)
{
    return create<QueryAccess>(
        progId, m_queryAccesses, "query access component", [&](ComponentPlugin &plugin) { return plugin.createQueryAccess(progId); },
        [&] { return systemQueryAccess(progId); });
}

} // namespace qm
