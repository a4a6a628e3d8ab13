#include "platform/Sha256.h"

#include "core/RuntimeError.h"

#include <QByteArray>

#include <array>

#include <openssl/evp.h>

namespace qm {

namespace {

using Digest = std::unique_ptr<EVP_MD_CTX, decltype([](EVP_MD_CTX *context) { EVP_MD_CTX_free(context); })>;

void require(int done)
{
    if (done != 1)
        raise(err::outOfMemory, QStringLiteral("computing a SHA-256 sum"));
}

Digest newDigest()
{
    Digest digest(EVP_MD_CTX_new());
    require(digest ? 1 : 0);
    return digest;
}

} // namespace

struct Sha256::Context
{
    Digest digest = newDigest();
};

Sha256::Sha256() : m_context(std::make_unique<Context>())
{
    require(EVP_DigestInit_ex(m_context->digest.get(), EVP_sha256(), nullptr));
}

Sha256::~Sha256() = default;

void Sha256::update(std::string_view bytes)
{
    require(EVP_DigestUpdate(m_context->digest.get(), bytes.data(), bytes.size()));
}

QString Sha256::hex() const
{
    const Digest copy = newDigest();
    require(EVP_MD_CTX_copy_ex(copy.get(), m_context->digest.get()));
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
    unsigned length = 0;
    require(EVP_DigestFinal_ex(copy.get(), sum.data(), &length));
    return QString::fromLatin1(QByteArray::fromRawData(reinterpret_cast<const char *>(sum.data()), static_cast<qsizetype>(length)).toHex());
}

} // namespace qm
