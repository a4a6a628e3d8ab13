/// \file
/// What a plug-in in the installation's "Components" folder implements.
///
/// The plug-in is a Qt plug-in built with the program's own Qt and compiler. Its metadata names the programmatic identifiers it creates:
/// \code
///   class Plugin : public QObject, public qm::ComponentPlugin
///   {
///       Q_OBJECT
///       Q_PLUGIN_METADATA(IID QmComponentPlugin_iid FILE "plugin.json") // { "ProgIds": ["Contoso.MailReports"] }
///       Q_INTERFACES(qm::ComponentPlugin)
/// \endcode
#pragma once

#include "framework/Components.h"

#include <QObject>

namespace qm {

class ComponentPlugin
{
public:
    virtual ~ComponentPlugin() = default;
    /// \returns null when \p progId is not a report interface of this plug-in.
    [[nodiscard]] virtual std::unique_ptr<ReportInterface> createReportInterface(const QString &progId) = 0;
    /// \returns null when \p progId is not a query access component of this plug-in.
    [[nodiscard]] virtual std::unique_ptr<QueryAccess> createQueryAccess(const QString &progId) = 0;
};

} // namespace qm

#define QmComponentPlugin_iid "com.tarrowind.Quillmark.ComponentPlugin/1"
Q_DECLARE_INTERFACE(qm::ComponentPlugin, QmComponentPlugin_iid)
