// Checksums by the cryptography that comes with Windows (CNG).

#include "core/RuntimeError.h"
#include "platform/Sha256.h"

#include <QByteArray>

#include <array>

#include <windows.h>

#include <bcrypt.h>

namespace qm {

namespace {

constexpr std::size_t kSumSize = 32;

struct HashCloser
{
    using pointer = BCRYPT_HASH_HANDLE;
    void operator()(BCRYPT_HASH_HANDLE hash) const { BCryptDestroyHash(hash); }
};
using Hash = std::unique_ptr<void, HashCloser>;

struct AlgorithmCloser
{
    using pointer = BCRYPT_ALG_HANDLE;
    void operator()(BCRYPT_ALG_HANDLE algorithm) const { BCryptCloseAlgorithmProvider(algorithm, 0); }
};
using Algorithm = std::unique_ptr<void, AlgorithmCloser>;

void require(NTSTATUS status)
{
    if (status < 0)
        raise(err::outOfMemory, QStringLiteral("computing a SHA-256 sum"));
}

Algorithm newAlgorithm()
{
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    require(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    return Algorithm(algorithm);
}

Hash newHash(const Algorithm &algorithm)
{
    BCRYPT_HASH_HANDLE hash = nullptr;
    require(BCryptCreateHash(algorithm.get(), &hash, nullptr, 0, nullptr, 0, 0));
    return Hash(hash);
}

} // namespace

struct Sha256::Context
{
    Algorithm algorithm = newAlgorithm();
    Hash hash = newHash(algorithm);
};

Sha256::Sha256() : m_context(std::make_unique<Context>()) {}

Sha256::~Sha256() = default;

void Sha256::update(std::string_view bytes)
{
    // The function counts in 32 bits and does not change its input.
    constexpr std::size_t most = 1U << 30U;
    for (std::size_t at = 0; at < bytes.size(); at += most) {
        const std::string_view part = bytes.substr(at, most);
        auto *data = reinterpret_cast<UCHAR *>(const_cast<char *>(part.data()));
        require(BCryptHashData(m_context->hash.get(), data, static_cast<ULONG>(part.size()), 0));
    }
}

QString Sha256::hex() const
{
    BCRYPT_HASH_HANDLE duplicate = nullptr;
    require(BCryptDuplicateHash(m_context->hash.get(), &duplicate, nullptr, 0, 0));
    const Hash copy(duplicate);
    std::array<UCHAR, kSumSize> sum{};
    require(BCryptFinishHash(copy.get(), sum.data(), static_cast<ULONG>(sum.size()), 0));
    return QString::fromLatin1(QByteArray::fromRawData(reinterpret_cast<const char *>(sum.data()), kSumSize).toHex());
}

} // namespace qm
