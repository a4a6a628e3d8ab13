#include "framework/SystemComponents.h"

#include "core/RuntimeError.h"
#include "platform/AutomationWindows.h"
#include "platform/Files.h"

#include <map>

namespace qm {

using automation::Apartment;
using automation::Object;

namespace {

class ComReportInterface final : public ReportInterface
{
public:
    explicit ComReportInterface(Object object) : m_object(std::move(object)) {}
    void EditQuery(const QString &target) override { m_object.call(QStringLiteral("EditQuery"), {target}); }
    void GenerateReport(const QString &queryFile, int reserved, bool interactive, bool flag) override
    {
        m_object.call(QStringLiteral("GenerateReport"), {queryFile, reserved, interactive, flag});
    }

private:
    Apartment m_apartment;
    Object m_object;
};

/// The query objects that were read are kept: only the component knows all that is in one.
class ComQueryAccess final : public QueryAccess
{
public:
    ComQueryAccess(Object object, QString progId) : m_object(std::move(object)), m_progId(std::move(progId)) {}

    std::shared_ptr<Query> ReadFile(const QString &path) override
    {
        Object object = m_object.object(QStringLiteral("ReadFile"), {path});
        auto query = std::make_shared<Query>(read(object));
        if (query->QueryFile.isEmpty())
            query->QueryFile = path;
        m_read.insert_or_assign(query->QueryFile, std::move(object));
        return query;
    }

    void WriteFile(const Query &query, const QString &path) override
    {
        const auto found = m_read.find(query.QueryFile);
        if (found == m_read.end())
            raise(err::objectNotSet,
                  QStringLiteral("%1 can write only queries that it has read, and it has not read \"%2\"").arg(m_progId, query.QueryFile),
                  kFrameworkSource);
        change(found->second, query);
        m_object.call(QStringLiteral("WriteFile"), {found->second, path});
        // The caller removes the old file next.
        if (!files::fileExists(path))
            raise(err::pathFileAccess, QStringLiteral("%1 reported success but wrote no file \"%2\"").arg(m_progId, path),
                  kFrameworkSource);
    }

private:
    static Query read(const Object &object)
    {
        Query query;
        query.Description = object.text(QStringLiteral("Description"));
        query.QueryFile = object.text(QStringLiteral("QueryFile"));
        query.ReportFile = object.text(QStringLiteral("ReportFile"));
        query.OutputSettings.OutputType = object.object(QStringLiteral("OutputSettings")).number(QStringLiteral("OutputType"));
        return query;
    }

    /// Only what differs is put: most members of a component's query may be read-only.
    static void change(const Object &object, const Query &wanted)
    {
        const Query held = read(object);
        if (held.Description != wanted.Description)
            object.put(QStringLiteral("Description"), wanted.Description);
        if (held.ReportFile != wanted.ReportFile)
            object.put(QStringLiteral("ReportFile"), wanted.ReportFile);
        if (held.OutputSettings.OutputType != wanted.OutputSettings.OutputType)
            object.object(QStringLiteral("OutputSettings")).put(QStringLiteral("OutputType"), wanted.OutputSettings.OutputType);
    }

    Apartment m_apartment;
    Object m_object;
    QString m_progId;
    std::map<QString, Object> m_read; ///< by QueryFile
};

} // namespace

std::unique_ptr<ReportInterface> systemReportInterface(const QString &progId)
{
    const Apartment apartment; // the component has one of its own from then on
    std::optional<Object> object = Object::create(progId);
    return object ? std::make_unique<ComReportInterface>(*std::move(object)) : nullptr;
}

std::unique_ptr<QueryAccess> systemQueryAccess(const QString &progId)
{
    const Apartment apartment;
    std::optional<Object> object = Object::create(progId);
    return object ? std::make_unique<ComQueryAccess>(*std::move(object), progId) : nullptr;
}

QString systemComponentsPlace()
{
    return QStringLiteral("registered with COM for programs of this kind (%1-bit)").arg(sizeof(void *) * 8);
}

} // namespace qm
