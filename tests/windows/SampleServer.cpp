// An in-process COM server whose objects are called by name only.
#include "SampleServer.h"

#include <array>
#include <atomic>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <windows.h>

#include <oleauto.h>

#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // COM's interfaces have no destructor: Release ends an object

using namespace qm::test;

namespace {

std::atomic<long> liveObjects = 0;

std::wstring wideFrom(const std::string &bytes)
{
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(), static_cast<int>(text.size()))));
    return text;
}

std::string utf8From(const std::wstring &text)
{
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

std::wstring readText(const std::wstring &path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return wideFrom({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
}

HRESULT writeText(const std::wstring &path, const std::wstring &text, std::ios::openmode mode = std::ios::trunc)
{
    std::ofstream file(std::filesystem::path(path), std::ios::binary | mode);
    const std::string bytes = utf8From(text);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    return file ? S_OK : STG_E_WRITEFAULT;
}

/// One call of a member.
struct Call
{
    WORD kind = 0;
    std::vector<const VARIANT *> arguments; ///< first one first
    VARIANT *result = nullptr;
    EXCEPINFO *info = nullptr;

    [[nodiscard]] bool puts() const { return (kind & DISPATCH_PROPERTYPUT) != 0; }
    [[nodiscard]] std::wstring text(std::size_t index) const
    {
        const VARIANT &given = *arguments.at(index);
        return given.vt == VT_BSTR && given.bstrVal != nullptr ? std::wstring(given.bstrVal, SysStringLen(given.bstrVal)) : std::wstring();
    }
    /// The argument's type and value, as a record shows it.
    [[nodiscard]] std::wstring shown(std::size_t index) const
    {
        const VARIANT &given = *arguments.at(index);
        switch (given.vt) {
        case VT_BSTR:
            return L"text " + text(index);
        case VT_I4:
            return L"number " + std::to_wstring(given.lVal);
        case VT_BOOL:
            return given.boolVal == VARIANT_TRUE ? L"true" : given.boolVal == VARIANT_FALSE ? L"false" : L"no boolean";
        default:
            return L"type " + std::to_wstring(given.vt);
        }
    }
    HRESULT give(const std::wstring &text) const
    {
        if (result != nullptr) {
            result->vt = VT_BSTR;
            result->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        }
        return S_OK;
    }
    /// Hands the object's reference over.
    HRESULT give(IDispatch *object) const
    {
        if (result == nullptr)
            object->Release();
        else {
            result->vt = VT_DISPATCH;
            result->pdispVal = object;
        }
        return S_OK;
    }
};

BSTR bstr(const wchar_t *text)
{
    return SysAllocString(text);
}

HRESULT WINAPI fillIn(EXCEPINFO *info)
{
    info->bstrSource = bstr(L"Sample Pr\u00fcfer");
    info->bstrDescription = bstr(L"Pr\u00fcfung: die Datei fehlt \u2013 \u6f22\r\n");
    info->bstrHelpFile = bstr(L"sample.hlp");
    return S_OK;
}

/// Hands messages on for a quarter of a second.
void linger()
{
    constexpr DWORD howLong = 250, step = 10; // ms
    for (const ULONGLONG end = GetTickCount64() + howLong; GetTickCount64() < end;) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, step, QS_ALLINPUT);
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

/// Fails as the first word of \p text that is known says; S_OK when none is.
HRESULT failed(const std::wstring &text, EXCEPINFO &info)
{
    const auto holds = [&](const wchar_t *word) { return text.find(word) != std::wstring::npos; };
    const auto exception = [&](unsigned code, const wchar_t *words) {
        info.scode = static_cast<SCODE>(code);
        info.bstrDescription = words == nullptr ? nullptr : bstr(words);
        return DISP_E_EXCEPTION;
    };
    if (holds(failing::described)) {
        info.scode = static_cast<SCODE>(0x800A0035U);
        info.pfnDeferredFillIn = fillIn;
        return DISP_E_EXCEPTION;
    }
    if (holds(failing::cancelled))
        return exception(0x80043B05U, L"cancelled");
    if (holds(failing::numbered)) {
        info.wCode = 1004;
        return exception(0, L"a number of my own");
    }
    if (holds(failing::wordless))
        return exception(0x800A0046U, nullptr);
    if (holds(failing::provider))
        return exception(0x800A0E7AU, L"Provider cannot be found. It may not be properly installed.");
    return holds(failing::bare) ? E_FAIL : S_OK;
}

/// An object with members by name.
class Named : public IDispatch
{
public:
    using Body = std::function<HRESULT(const Call &)>;

    Named() { ++liveObjects; }
    virtual ~Named() { --liveObjects; }
    Named(const Named &) = delete;
    Named &operator=(const Named &) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void **object) override
    {
        const bool known = IsEqualIID(wanted, IID_IUnknown) || IsEqualIID(wanted, IID_IDispatch);
        *object = known ? static_cast<IDispatch *>(this) : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *count) override
    {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR *names, UINT, LCID, DISPID *ids) override
    {
        for (std::size_t i = 0; i < m_members.size(); ++i)
            if (_wcsicmp(m_members[i].first, names[0]) == 0) {
                ids[0] = static_cast<DISPID>(i + 1);
                return S_OK;
            }
        ids[0] = DISPID_UNKNOWN;
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS *parameters, VARIANT *result, EXCEPINFO *info,
                                     UINT *) override
    {
        try {
            EXCEPINFO unwanted{};
            Call call{kind, {}, result, info == nullptr ? &unwanted : info};
            for (UINT i = parameters->cArgs; i > 0; --i)
                call.arguments.push_back(&parameters->rgvarg[i - 1]);
            // A value that is put has to be named as one.
            if (call.puts() && (parameters->cNamedArgs != 1 || parameters->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT))
                return DISP_E_PARAMNOTOPTIONAL;
            return m_members.at(static_cast<std::size_t>(id) - 1).second(call);
        } catch (const std::out_of_range &) {
            return DISP_E_BADPARAMCOUNT;
        } catch (...) {
            return E_UNEXPECTED;
        }
    }

protected:
    void member(const wchar_t *name, Body body) { m_members.emplace_back(name, std::move(body)); }

private:
    std::atomic<ULONG> m_references = 1;
    std::vector<std::pair<const wchar_t *, Body>> m_members;
};

class Reports final : public Named
{
public:
    Reports()
    {
        member(L"EditQuery", [](const Call &call) {
            const std::wstring target = call.text(0);
            if (const HRESULT code = failed(target, *call.info); code != S_OK)
                return code;
            if (target.find(kLingering) != std::wstring::npos)
                linger();
            if (target.ends_with(L'\\'))
                return writeText(target + L"By the component.rqn", L"description = \"By the component\"\nsql = \"SELECT 1 AS one\"\n");
            return writeText(target, L"# edited by the component\n", std::ios::app);
        });
        member(L"GenerateReport", [](const Call &call) {
            if (const HRESULT code = failed(call.text(0), *call.info); code != S_OK)
                return code;
            if (call.text(0).find(kLingering) != std::wstring::npos)
                linger();
            std::wstring record;
            for (std::size_t i = 0; i < call.arguments.size(); ++i)
                record += call.shown(i) + L'\n';
            return writeText(call.text(0) + L".generated", record);
        });
    }
};

class Output final : public Named
{
public:
    Output()
    {
        member(L"OutputType", [this](const Call &call) {
            if (call.puts())
                return E_ACCESSDENIED;
            call.result->vt = VT_BYREF | VT_I2;
            call.result->piVal = &m_type;
            return S_OK;
        });
    }

private:
    SHORT m_type = 2;
};

constexpr GUID kOwnQuery = {0x5d3c0b0e, 0x77a1, 0x4f0a, {0x9e, 0x41, 0x0c, 0x5e, 0x1d, 0x32, 0xa9, 0x10}};

class QueryObject final : public Named
{
public:
    explicit QueryObject(std::wstring path) : m_path(std::move(path))
    {
        const std::wstring text = readText(m_path), key = L"description = \"";
        const auto begin = text.find(key) + key.size(), end = text.find(L'"', begin);
        m_before = text.substr(0, begin);
        m_description = text.substr(begin, end - begin);
        m_behind = text.substr(end);
        member(L"Description", [this](const Call &call) {
            if (!call.puts())
                return call.give(m_description);
            m_description = call.text(0);
            return S_OK;
        });
        member(L"QueryFile", [this](const Call &call) { return call.puts() ? DISP_E_MEMBERNOTFOUND : call.give(m_path); });
        member(L"ReportFile", [](const Call &call) { return call.puts() ? DISP_E_MEMBERNOTFOUND : call.give(std::wstring()); });
        member(L"OutputSettings", [](const Call &call) { return call.give(new Output); });
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void **object) override
    {
        if (!IsEqualIID(wanted, kOwnQuery))
            return Named::QueryInterface(wanted, object);
        *object = this;
        AddRef();
        return S_OK;
    }
    HRESULT write(const std::wstring &path) const { return writeText(path, m_before + m_description + m_behind); }

private:
    std::wstring m_path, m_before, m_description, m_behind;
};

class Queries final : public Named
{
public:
    Queries()
    {
        member(L"ReadFile", [](const Call &call) {
            if (call.text(0).find(L"nothing") != std::wstring::npos)
                return S_OK;
            return call.give(static_cast<IDispatch *>(new QueryObject(call.text(0))));
        });
        member(L"WriteFile", [](const Call &call) {
            const VARIANT &given = *call.arguments.at(0);
            const std::wstring path = call.text(1);
            void *own = nullptr;
            if (given.vt != VT_DISPATCH || FAILED(given.pdispVal->QueryInterface(kOwnQuery, &own)))
                return DISP_E_TYPEMISMATCH;
            auto *const query = static_cast<QueryObject *>(own);
            const HRESULT code = path.find(L"nowhere") == std::wstring::npos ? query->write(path) : S_OK;
            query->Release();
            return code;
        });
    }
};

class Connection final : public Named
{
public:
    Connection()
    {
        member(L"ConnectionTimeout", [this](const Call &call) {
            m_timeout = call.shown(0);
            return S_OK;
        });
        member(L"Open", [this](const Call &call) {
            const std::wstring text = call.text(0), key = L"Data Source=";
            const auto begin = text.find(key) + key.size();
            m_record = text.substr(begin, text.find(L';', begin) - begin);
            std::wstring record = L"timeout " + m_timeout + L'\n';
            for (std::size_t i = 0; i < call.arguments.size(); ++i)
                record += call.shown(i) + L'\n';
            writeText(m_record, record);
            if (text.find(L"Initial Catalog=leaky") != std::wstring::npos) {
                call.info->scode = E_FAIL;
                call.info->bstrDescription = bstr((L"cannot use " + text).c_str());
                return DISP_E_EXCEPTION;
            }
            return failed(text, *call.info);
        });
        member(L"Close", [this](const Call &) { return writeText(m_record, L"closed\n", std::ios::app); });
    }

private:
    std::wstring m_timeout, m_record;
};

/// Lives as long as the library.
class Factory final : public IClassFactory
{
public:
    using Maker = IDispatch *(*)();

    Factory(const GUID &id, Maker maker) : m_id(id), m_maker(maker) {}
    [[nodiscard]] bool makes(REFCLSID id) const { return IsEqualCLSID(m_id, id) != FALSE; }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void **object) override
    {
        const bool known = IsEqualIID(wanted, IID_IUnknown) || IsEqualIID(wanted, IID_IClassFactory);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *outer, REFIID wanted, void **object) override
    {
        *object = nullptr;
        if (outer != nullptr)
            return CLASS_E_NOAGGREGATION;
        IDispatch *const made = m_maker();
        const HRESULT code = made->QueryInterface(wanted, object);
        made->Release();
        return code;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    GUID m_id;
    Maker m_maker;
};

template <class Made>
IDispatch *make()
{
    return new Made;
}

std::array factories{Factory(kReportsClass, make<Reports>), Factory(kQueriesClass, make<Queries>),
                     Factory(kConnectionClass, make<Connection>)};

} // namespace

extern "C" {

HRESULT WINAPI DllGetClassObject(REFCLSID id, REFIID wanted, LPVOID *object)
{
    for (Factory &factory : factories)
        if (factory.makes(id))
            return factory.QueryInterface(wanted, object);
    *object = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
}

/// S_OK when no object of this library is left.
HRESULT WINAPI DllCanUnloadNow()
{
    return liveObjects == 0 ? S_OK : S_FALSE;
}
}
