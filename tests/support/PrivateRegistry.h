/// \file
/// A registry of the test's own.
#pragma once

#include <memory>

class QString;

namespace qm::test {

/// While it lives, this process and its children see another registry than the operator's; afterwards all is as it was. On Windows it is
/// the value of the installation folder alone that is another one, and for all programs.
class PrivateRegistry final
{
public:
    /// \p folder is there and the test's own.
    explicit PrivateRegistry(const QString &folder);
    ~PrivateRegistry();
    PrivateRegistry(const PrivateRegistry &) = delete;
    PrivateRegistry &operator=(const PrivateRegistry &) = delete;

    /// Takes the installation folder's value away, as on a machine without the product.
    void clear() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm::test
