#include "platform/AutomationWindows.h"

#include "core/RuntimeError.h"
#include "platform/SystemFileWindows.h"

#include <utility>
#include <vector>

#include <objbase.h>

namespace qm::automation {

using namespace qm::win;

namespace {

std::int32_t asNumber(HRESULT code)
{
    return static_cast<std::int32_t>(code);
}

/// The run-time error number that the HRESULT \p code stands for: 0x800A0000 + n is the classic n, a few others have one too.
std::int32_t numberOf(HRESULT code)
{
    constexpr std::uint32_t classic = 0x800A0000U, mask = 0xFFFF0000U;
    const auto bits = static_cast<std::uint32_t>(code);
    if ((bits & mask) == classic)
        return static_cast<std::int32_t>(bits & ~mask);
    switch (code) {
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
        return err::noSuchMember;
    case DISP_E_TYPEMISMATCH:
        return err::typeMismatch;
    case DISP_E_OVERFLOW:
        return err::overflow;
    case DISP_E_BADINDEX:
        return err::subscriptOutOfRange;
    case E_OUTOFMEMORY:
        return err::outOfMemory;
    case E_ACCESSDENIED:
        return err::permissionDenied;
    case E_INVALIDARG:
        return err::invalidProcedureCall;
    default:
        return asNumber(code);
    }
}

/// What the system says about \p code, with the code itself: "Unspecified error (0x80004005)".
QString wordsOf(HRESULT code)
{
    const QString hex = QStringLiteral("0x%1").arg(static_cast<quint32>(code), 8, 16, QLatin1Char('0')).toUpper().replace(u'X', u'x');
    const QString words = systemWords(static_cast<DWORD>(code));
    // For a code that it does not know Qt makes up words that are the code again.
    return words.isEmpty() || words.contains(hex, Qt::CaseInsensitive) ? QStringLiteral("error ") + hex
                                                                       : words + QStringLiteral(" (") + hex + u')';
}

/// The text of a failure that came without words of its own.
QString describe(std::int32_t number, HRESULT code, const QString &where)
{
    if (number != asNumber(code)) // one with a classic wording, if any
        return classicText(number) + QStringLiteral(": ") + where;
    return where + QStringLiteral(": ") + wordsOf(code);
}

[[noreturn]] void raiseCode(HRESULT code, const QString &where, const QString &source)
{
    const std::int32_t number = numberOf(code);
    throw RuntimeError(number, describe(number, code, where), source);
}

QString taken(BSTR text)
{
    const QString own = text == nullptr ? QString() : QString::fromWCharArray(text, static_cast<int>(SysStringLen(text)));
    SysFreeString(text);
    return own;
}

/// Throws what the object told in \p info, whose texts are freed.
[[noreturn]] void raiseReported(EXCEPINFO &info, const QString &where, const QString &name)
{
    if (info.pfnDeferredFillIn != nullptr)
        info.pfnDeferredFillIn(&info);
    const QString words = taken(info.bstrDescription).trimmed();
    const QString source = taken(info.bstrSource);
    taken(info.bstrHelpFile);
    HRESULT code = info.scode;
    std::int32_t number = numberOf(code);
    if (code == S_OK) { // the older way: a number of the object's own
        code = DISP_E_EXCEPTION;
        number = info.wCode != 0 ? info.wCode : asNumber(code);
    }
    throw RuntimeError(number, words.isEmpty() ? describe(number, code, where) : words, source.isEmpty() ? name : source);
}

bool isRegisteredServer(const QString &classId, const char *kind, REGSAM view)
{
    HKEY key = nullptr;
    const QString path = QStringLiteral("CLSID\\%1\\%2").arg(classId, QLatin1String(kind));
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, wide(path), 0, KEY_QUERY_VALUE | view, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

/// Whether the class is registered for 32-bit programs alone, and this is none.
bool isFor32BitOnly(const CLSID &id)
{
    wchar_t text[39] = {};
    if (sizeof(void *) == 4 || StringFromGUID2(id, text, 39) == 0)
        return false;
    const QString classId = QString::fromWCharArray(text);
    return isRegisteredServer(classId, "InprocServer32", KEY_WOW64_32KEY) &&
           !isRegisteredServer(classId, "InprocServer32", KEY_WOW64_64KEY) &&
           !isRegisteredServer(classId, "LocalServer32", KEY_WOW64_64KEY);
}

QString reasonNotMade(HRESULT code, const CLSID &id)
{
    if (code == HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT) || isFor32BitOnly(id))
        return QStringLiteral("it is made for 32-bit programs, and this 64-bit program cannot load it. Install its 64-bit version");
    if (code == E_NOINTERFACE)
        return QStringLiteral("it cannot be called by name (it has no IDispatch). It is not a component for this use");
    return wordsOf(code) + QStringLiteral(". Install or register it again");
}

[[noreturn]] void raiseNotMade(const QString &progId, HRESULT code, const CLSID &id)
{
    raise(err::cannotCreateObject,
          QStringLiteral("the COM component \"%1\" is registered but could not be made: %2.").arg(progId, reasonNotMade(code, id)));
}

} // namespace

Apartment::Apartment()
{
    const HRESULT code = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
    m_entered = SUCCEEDED(code);
    if (!m_entered && code != RPC_E_CHANGED_MODE)
        raise(err::cannotCreateObject, QStringLiteral("COM does not start: ") + wordsOf(code));
}

Apartment::~Apartment()
{
    if (m_entered)
        CoUninitialize();
}

Variant::Variant(const QString &text) : Variant()
{
    m_value.bstrVal = SysAllocStringLen(wide(text), static_cast<UINT>(text.size()));
    if (m_value.bstrVal == nullptr)
        raise(err::outOfMemory);
    m_value.vt = VT_BSTR;
}

Variant::Variant(int number) noexcept : Variant()
{
    m_value.vt = VT_I4;
    m_value.lVal = number;
}

Variant::Variant(bool truth) noexcept : Variant()
{
    m_value.vt = VT_BOOL;
    m_value.boolVal = truth ? VARIANT_TRUE : VARIANT_FALSE;
}

Variant::Variant(const Object &object) noexcept : Variant()
{
    m_value.vt = VT_DISPATCH;
    m_value.pdispVal = object.m_object.get();
    m_value.pdispVal->AddRef();
}

Variant::Variant(const Variant &other) : Variant()
{
    if (FAILED(VariantCopy(&m_value, const_cast<VARIANT *>(&other.m_value))))
        raise(err::outOfMemory);
}

Variant::Variant(Variant &&other) noexcept : Variant()
{
    std::swap(m_value, other.m_value);
}

Variant &Variant::operator=(Variant other) noexcept
{
    std::swap(m_value, other.m_value);
    return *this;
}

VARIANT *Variant::receive() noexcept
{
    VariantClear(&m_value);
    return &m_value;
}

std::optional<Variant> Variant::changedTo(VARTYPE type) const
{
    Variant direct, changed;
    if (FAILED(VariantCopyInd(&direct.m_value, const_cast<VARIANT *>(&m_value))))
        return std::nullopt;
    if (direct.m_value.vt == VT_NULL && type == VT_BSTR)
        return Variant(QString());
    if (FAILED(VariantChangeTypeEx(&changed.m_value, &direct.m_value, LOCALE_USER_DEFAULT, 0, type)))
        return std::nullopt;
    return changed;
}

std::optional<Object> Object::create(const QString &progId)
{
    CLSID id{};
    const HRESULT known = CLSIDFromProgID(wide(progId), &id);
    if (known == CO_E_CLASSSTRING)
        return std::nullopt;
    if (FAILED(known))
        raiseNotMade(progId, known, id);
    void *made = nullptr;
    const HRESULT code = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch, &made);
    if (FAILED(code) || made == nullptr)
        raiseNotMade(progId, FAILED(code) ? code : E_NOINTERFACE, id);
    return Object(Pointer(static_cast<IDispatch *>(made)), progId);
}

void Object::invoke(const QString &name, WORD kind, const Variant *arguments, std::size_t count, Variant *result) const
{
    auto *spelled = const_cast<wchar_t *>(wide(name));
    DISPID id = DISPID_UNKNOWN;
    if (const HRESULT code = m_object->GetIDsOfNames(IID_NULL, &spelled, 1, LOCALE_USER_DEFAULT, &id); FAILED(code))
        raiseCode(code, member(name), m_name);

    std::vector<VARIANTARG> backwards; // as the interface wants them; borrowed
    for (std::size_t i = count; i > 0; --i)
        backwards.push_back(arguments[i - 1].raw());
    DISPID putValue = DISPID_PROPERTYPUT;
    const bool puts = (kind & DISPATCH_PROPERTYPUT) != 0;
    DISPPARAMS parameters{backwards.data(), puts ? &putValue : nullptr, static_cast<UINT>(count), puts ? 1U : 0U};
    EXCEPINFO info{};
    UINT wrongArgument = 0;
    const HRESULT code = m_object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters,
                                          result == nullptr ? nullptr : result->receive(), &info, &wrongArgument);
    if (code == DISP_E_EXCEPTION)
        raiseReported(info, member(name), m_name);
    if (FAILED(code))
        raiseCode(code, member(name), m_name);
}

Variant Object::result(const QString &name, std::initializer_list<Variant> arguments, VARTYPE type) const
{
    Variant given;
    // Both kinds, as scripts ask: what one component offers as a property is a function of another.
    invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments.begin(), arguments.size(), &given);
    std::optional<Variant> wanted = given.changedTo(type);
    if (!wanted)
        throw RuntimeError(type == VT_DISPATCH ? err::objectNotSet : err::typeMismatch,
                           classicText(type == VT_DISPATCH ? err::objectNotSet : err::typeMismatch) + QStringLiteral(": ") + member(name),
                           m_name);
    return *std::move(wanted);
}

Object Object::object(const QString &name, std::initializer_list<Variant> arguments) const
{
    const Variant given = result(name, arguments, VT_DISPATCH);
    IDispatch *const object = given.raw().pdispVal;
    if (object == nullptr)
        throw RuntimeError(err::objectNotSet, classicText(err::objectNotSet) + QStringLiteral(": ") + member(name), m_name);
    object->AddRef();
    return {Pointer(object), member(name)};
}

void Object::call(const QString &method, std::initializer_list<Variant> arguments) const
{
    invoke(method, DISPATCH_METHOD, arguments.begin(), arguments.size(), nullptr);
}

QString Object::text(const QString &property) const
{
    const Variant given = result(property, {}, VT_BSTR);
    BSTR const words = given.raw().bstrVal;
    return words == nullptr ? QString() : QString::fromWCharArray(words, static_cast<int>(SysStringLen(words)));
}

int Object::number(const QString &property) const
{
    return result(property, {}, VT_I4).raw().lVal;
}

void Object::put(const QString &property, const Variant &value) const
{
    invoke(property, DISPATCH_PROPERTYPUT, &value, 1, nullptr);
}

} // namespace qm::automation
