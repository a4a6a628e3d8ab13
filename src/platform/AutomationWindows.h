/// \file
/// Late-bound calls to COM objects (OLE Automation, IDispatch).
#pragma once

#include <QString>

#include <initializer_list>
#include <memory>
#include <optional>

#include <windows.h>

#include <oleauto.h>

namespace qm::automation {

/// COM on the calling thread as long as this lives, apartment-threaded. Nests, and takes a thread as it is that other code has set up its
/// own way. Objects are used and released on the thread, and within the life, of an apartment.
class Apartment final
{
public:
    /// \throws RuntimeError 429 when the system does not start COM.
    Apartment();
    ~Apartment();
    Apartment(const Apartment &) = delete;
    Apartment &operator=(const Apartment &) = delete;

private:
    bool m_entered = false;
};

class Object;

/// One value on its way into a call or out of it.
class Variant final
{
public:
    Variant() noexcept { VariantInit(&m_value); }
    Variant(const QString &text);
    Variant(int number) noexcept;
    Variant(bool truth) noexcept;
    /// Shares the object.
    Variant(const Object &object) noexcept;
    template <class T>
    Variant(T *) = delete; // a literal would become a bool
    Variant(const Variant &other);
    Variant(Variant &&other) noexcept;
    Variant &operator=(Variant other) noexcept;
    ~Variant() { VariantClear(&m_value); }

    /// As the system sees it; stays owned by this.
    [[nodiscard]] const VARIANT &raw() const noexcept { return m_value; }
    /// Cleared, for a callee to fill.
    [[nodiscard]] VARIANT *receive() noexcept;
    /// What the value, or the variable it refers to, is in another type. \returns nothing when it is no such thing.
    [[nodiscard]] std::optional<Variant> changedTo(VARTYPE type) const;

private:
    VARIANT m_value;
};

/// An object whose members are found by name when they are used.
///
/// Every member function throws what the object reports as a RuntimeError: its number (the classic one where it is one, else the HRESULT),
/// its own words and source. Where it gives no words, they are the system's, with the member's name and the HRESULT. 438: there is no such
/// member; 13: the value is of another type; 91: there is no object where one was to be.
class Object final
{
public:
    /// Makes an object of the class that is registered as \p progId, in this process or in a program of its own on this machine.
    /// \returns nothing when none is. \throws RuntimeError 429 when one is registered and cannot be made, with the reason.
    [[nodiscard]] static std::optional<Object> create(const QString &progId);

    void call(const QString &method, std::initializer_list<Variant> arguments = {}) const;
    [[nodiscard]] QString text(const QString &property) const;
    [[nodiscard]] int number(const QString &property) const;
    /// What a property, or a function with \p arguments, gives.
    [[nodiscard]] Object object(const QString &name, std::initializer_list<Variant> arguments = {}) const;
    void put(const QString &property, const Variant &value) const;

private:
    friend class Variant;
    struct Release
    {
        void operator()(IDispatch *object) const noexcept { object->Release(); }
    };
    using Pointer = std::unique_ptr<IDispatch, Release>;

    Object(Pointer object, QString name) : m_object(std::move(object)), m_name(std::move(name)) {}
    [[nodiscard]] QString member(const QString &name) const { return m_name + u'.' + name; }
    void invoke(const QString &name, WORD kind, const Variant *arguments, std::size_t count, Variant *result) const;
    [[nodiscard]] Variant result(const QString &name, std::initializer_list<Variant> arguments, VARTYPE type) const;

    Pointer m_object;
    QString m_name; ///< for messages: the programmatic identifier, and the member it came from
};

} // namespace qm::automation
