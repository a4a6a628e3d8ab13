/// \file
/// The package and group model of the catalogue.
#pragma once

#include "core/Dictionary.h"
#include "core/Records.h"

namespace qm {

/// One event-log package: its package information and the names of its report groups, in the order they were added.
class QMKPackage final
{
public:
    void setPackageInfo(std::shared_ptr<qm::PackageInfo> udoPackageInfo) { m_packageInfo = std::move(udoPackageInfo); }
    [[nodiscard]] const std::shared_ptr<qm::PackageInfo> &PackageInfo() const { return m_packageInfo; }
    /// \throws RuntimeError 457 when the group is already there.
    void AddGroup(const QString &strGroup) { m_groups.Add(strGroup, strGroup); }
    /// \throws RuntimeError 35601 when the group is not there.
    void RemoveGroup(const QString &strGroupName) { m_groups.Remove(strGroupName); }
    void RemoveAllGroups() { m_groups.RemoveAll(); }
    [[nodiscard]] int GroupCount() const { return m_groups.Count(); }
    /// Exact comparison: a name that differs in letter case is another name.
    [[nodiscard]] bool GroupExists(const QString &strGroupName) const { return m_groups.Exists(strGroupName); }
    /// \throws RuntimeError 9 when \p lngIndex (from 0) is outside.
    [[nodiscard]] QString GroupItem(int lngIndex) const { return m_groups.at(lngIndex); }

private:
    std::shared_ptr<qm::PackageInfo> m_packageInfo;
    Dictionary<QString> m_groups;
};

/// One report group.
struct QMKGroup
{
    QString GroupName;
};

} // namespace qm
