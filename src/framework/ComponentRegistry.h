/// \file
/// The components that packages name: built in, then plug-ins, then the operating system's.
#pragma once

#include "framework/Components.h"
#include "framework/SystemComponents.h"

#include <functional>
#include <optional>
#include <vector>

namespace qm {

class ApplicationLog;
class ComponentPlugin;

/// How many calls of components that are not built in have not returned yet. They may let the operator's input through meanwhile.
struct ComponentWork
{
    int edits = 0, reports = 0;
};

/// Keeps the runs of report interfaces that are not built in; those that are keep theirs themselves.
class ForeignRuns
{
public:
    /// \returns a number for ended().
    virtual int began(const QString &queryFile, const QString &progId, bool interactive) = 0;
    virtual void ended(int run, const std::optional<RuntimeError> &failure) = 0;

protected:
    ForeignRuns() = default;
    ForeignRuns(const ForeignRuns &) = default;
    ForeignRuns &operator=(const ForeignRuns &) = default;
    ~ForeignRuns() = default;
};

/// Families of identifiers that the product itself serves; each package has an identifier of its own.
inline constexpr char kReportInterfaceFamily[] = "QuillmarkReports.*";
inline constexpr char kQueryAccessFamily[] = "QuillmarkQueryAccess.*";

/// Creates components: registered identifiers first, then registered families, then the plug-ins of the "Components" folder, then what the
/// operating system knows (COM on Windows).
///
/// Identifiers are compared without letter case. Query access components of kQueryAccessFamily are registered from the start; the report
/// interface is registered by the program, for it lives above this library. Objects are made per use. Used on one thread.
class ComponentRegistry final : public ComponentFactory
{
public:
    using ReportInterfaceMaker = std::function<std::unique_ptr<ReportInterface>(const QString &progId)>;
    using QueryAccessMaker = std::function<std::unique_ptr<QueryAccess>(const QString &progId)>;

    /// \p installPath ends with a separator; its folder "Components" may be missing. \p log may be null.
    explicit ComponentRegistry(const QString &installPath, ApplicationLog *log = nullptr);

    /// Is told of reports that components make from now on; null: nobody. It outlives them.
    void setForeignRuns(ForeignRuns *runs) { m_runs = runs; }
    /// \p identifier is exact, or a family "Prefix.*", which serves "Prefix." and any word of letters, digits and "_".
    void registerReportInterface(const QString &identifier, ReportInterfaceMaker maker);
    void registerQueryAccess(const QString &identifier, QueryAccessMaker maker);

    /// What is not built in is counted while it works, and reports that it fails to make are written to the log.
    /// \throws RuntimeError 429 naming the identifier and why nothing serves it; whatever the component's own creation throws.
    [[nodiscard]] std::unique_ptr<ReportInterface> createReportInterface(const QString &progId) override;
    [[nodiscard]] std::unique_ptr<QueryAccess> createQueryAccess(const QString &progId) override;

    /// Whether a component that is not built in is at work with its editor, or with a report. Its windows may be none of this program's, so
    /// nothing but this keeps the operator from starting something else meanwhile.
    [[nodiscard]] bool isEditing() const { return m_work.edits > 0; }
    [[nodiscard]] bool isGenerating() const { return m_work.reports > 0; }

private:
    template <class Maker>
    struct Entry
    {
        QString identifier;
        Maker make;
    };
    template <class Component, class Maker, class FromPlugin, class FromSystem>
    std::unique_ptr<Component> create(const QString &progId, const std::vector<Entry<Maker>> &entries, const char *kind,
                                      FromPlugin fromPlugin, FromSystem fromSystem);
    /// What to say when nothing serves \p progId.
    [[nodiscard]] QString unknown(const QString &progId, const QString &kind, const QStringList &troubles) const;
    void logNotCreated(const QString &why) const;
    /// The plug-ins whose metadata names \p progId; what went wrong with a file is added to \p troubles.
    std::vector<ComponentPlugin *> pluginsFor(const QString &progId, QStringList &troubles) const;

    QString m_componentsFolder;
    ApplicationLog *m_log;
    ForeignRuns *m_runs = nullptr;
    ComponentWork m_work;
    std::vector<Entry<ReportInterfaceMaker>> m_reportInterfaces;
    std::vector<Entry<QueryAccessMaker>> m_queryAccesses;
};

} // namespace qm
