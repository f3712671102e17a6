// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/signature.h"

#include "gate/files.h"
#include "gate/text.h"

#include <algorithm>
#include <new>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace gate
{

namespace
{

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using Context = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

/// What libcrypto gives, or the end: it gives nothing only where there is no memory.
template <typename Pointer>
Pointer given(Pointer pointer)
{
    if (!pointer)
        throw std::bad_alloc();
    return pointer;
}

Bio reading(std::string_view bytes)
{
    return {given(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size()))), BIO_free};
}

Context newContext()
{
    return {given(EVP_MD_CTX_new()), EVP_MD_CTX_free};
}

Key owned(EVP_PKEY *key)
{
    return {key, EVP_PKEY_free};
}

const unsigned char *bytesOf(std::string_view text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

bool isEd25519(const Key &key, std::string *error)
{
    if (EVP_PKEY_id(key.get()) == EVP_PKEY_ED25519)
        return true;
    *error = "a key of another kind than Ed25519";
    return false;
}

/// Whether a PEM file says of itself that it has such a thing in it.
bool isOfKind(std::string_view pem, std::string_view end)
{
    return pem.find(end) != std::string_view::npos;
}

/// What a passphrase is asked for with.
struct Asking {
    const std::optional<std::string> &passphrase;
    bool isAsked = false;
};

/// For libcrypto: stores the passphrase and returns its length, less than 0 for none.
int givePassphrase(char *buffer, int size, int isWriting, void *data)
{
    auto *asking = static_cast<Asking *>(data);
    asking->isAsked = true;
    if (!asking->passphrase)
        return PEM_def_callback(buffer, size, isWriting, nullptr);
    const std::string &passphrase = *asking->passphrase;
    if (passphrase.size() > static_cast<std::size_t>(size))
        return -1;
    std::copy(passphrase.begin(), passphrase.end(), buffer);
    return static_cast<int>(passphrase.size());
}

bool isPem(const std::string &name)
{
    const std::string ending = ".pem";
    return name.size() > ending.size()
           && name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

/// In the order of their bytes, so that lines about them are in the same order each time.
std::vector<std::string> pemFilesIn(const std::string &folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(opendir(folder.c_str()), closedir);
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        if (isPem(entry->d_name))
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool addFile(PublicKeys *keys, const std::string &folder, const std::string &name, std::string *error)
{
    // A link is followed, as the folder is the owner's.
    const Descriptor file(open((folder + '/' + name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    std::string pem;
    return isRegular(file, error) && readAll(file, largestKeyFile, &pem, error)
           && keys->add(name, pem, error);
}

} // namespace

VerifiedText::VerifiedText(std::string text, std::string key)
    : signedText(std::move(text))
    , keyName(std::move(key))
{
}

bool PublicKeys::add(const std::string &name, std::string_view pem, std::string *error)
{
    const Bio bytes = reading(pem);
    const Key key = owned(PEM_read_bio_PUBKEY(bytes.get(), nullptr, nullptr, nullptr));
    if (!key) {
        // A secret one has no business on a controller, so it is told apart.
        *error =
            isOfKind(pem, " PRIVATE KEY-----") ? "not a public key, but a secret one" : "not a public key";
        return false;
    }
    if (!isEd25519(key, error))
        return false;
    if (owned(PEM_read_bio_PUBKEY(bytes.get(), nullptr, nullptr, nullptr))) {
        *error = "more than one key";
        return false;
    }
    keys.push_back({name, key});
    return true;
}

void PublicKeys::add(const PublicKeys &others)
{
    keys.insert(keys.end(), others.keys.begin(), others.keys.end());
}

bool PublicKeys::isEmpty() const
{
    return keys.empty();
}

std::optional<VerifiedText> PublicKeys::verify(std::string text, std::string_view signature) const
{
    if (signature.size() != signatureLength)
        return std::nullopt;
    for (const Named &named : keys) {
        const Context context = newContext();
        if (EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, named.key.get()) == 1
            && EVP_DigestVerify(context.get(), bytesOf(signature), signature.size(), bytesOf(text),
                                text.size())
                   == 1)
            return VerifiedText(std::move(text), named.name);
    }
    return std::nullopt;
}

PublicKeys readPublicKeys(const std::string &folder, std::vector<std::string> *complaints)
{
    PublicKeys keys;
    std::string error;
    for (const std::string &name : pemFilesIn(folder)) {
        if (!addFile(&keys, folder, name, &error))
            complaints->push_back((folder + '/').append(printable(name)).append(": ").append(error));
    }
    return keys;
}

SecretKey::SecretKey(Key itsKey)
    : key(std::move(itsKey))
{
}

std::optional<SecretKey> SecretKey::read(std::string_view pem, const std::optional<std::string> &passphrase,
                                         std::string *error)
{
    Asking asking{passphrase};
    const Key key = owned(PEM_read_bio_PrivateKey(reading(pem).get(), nullptr, givePassphrase, &asking));
    if (!key) {
        const bool isPublic = isOfKind(pem, " PUBLIC KEY-----");
        *error = asking.isAsked ? "its passphrase is another one, or none was given"
                                : (isPublic ? "not a secret key, but a public one" : "not a secret key");
        return std::nullopt;
    }
    return isEd25519(key, error) ? std::optional<SecretKey>(SecretKey(key)) : std::nullopt;
}

SecretKey SecretKey::make()
{
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        given(EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr)), EVP_PKEY_CTX_free);
    EVP_PKEY *key = nullptr;
    if (EVP_PKEY_keygen_init(context.get()) == 1)
        EVP_PKEY_keygen(context.get(), &key);
    return SecretKey(owned(given(key)));
}

std::string SecretKey::sign(std::string_view text) const
{
    const Context context = newContext();
    std::string signature(signatureLength, '\0');
    std::size_t length = signature.size();
    auto *bytes = reinterpret_cast<unsigned char *>(signature.data());
    if (EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1
        || EVP_DigestSign(context.get(), bytes, &length, bytesOf(text), text.size()) != 1)
        throw std::bad_alloc();
    return signature;
}

std::string SecretKey::publicPem() const
{
    const Bio bytes(given(BIO_new(BIO_s_mem())), BIO_free);
    PEM_write_bio_PUBKEY(bytes.get(), key.get());
    char *start = nullptr;
    const long length = BIO_get_mem_data(bytes.get(), &start);
    return {start, static_cast<std::size_t>(length)};
}

} // namespace gate
