// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_SIGNATURE_H
#define GATE_SIGNATURE_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct evp_pkey_st;

namespace gate
{

constexpr std::size_t signatureLength = 64; ///< bytes, as "openssl pkeyutl -sign -rawin" writes them
constexpr std::size_t largestKeyFile = 65536;

/// Bytes that somebody trusted has signed. Only PublicKeys::verify() makes one, so that whoever takes one of
/// these instead of a string cannot look at bytes before they are known to be signed.
class VerifiedText
{
public:
    const std::string &text() const
    {
        return signedText;
    }

    /// The name of the key that the signature is of.
    const std::string &key() const
    {
        return keyName;
    }

private:
    friend class PublicKeys;
    VerifiedText(std::string text, std::string key);

    std::string signedText;
    std::string keyName;
};

/// An Ed25519 key as OpenSSL has it.
using Key = std::shared_ptr<evp_pkey_st>;

/// Whom the owner trusts.
class PublicKeys
{
public:
    /// Takes the key of a PEM file as "openssl pkey -pubout" writes it. False, with what is wrong with it,
    /// when it is not exactly one Ed25519 public key.
    bool add(const std::string &name, std::string_view pem, std::string *error);

    void add(const PublicKeys &others);

    bool isEmpty() const;

    /// The text, when `signature` is that of one of the keys.
    std::optional<VerifiedText> verify(std::string text, std::string_view signature) const;

private:
    struct Named {
        std::string name;
        Key key;
    };

    std::vector<Named> keys;
};

/// The keys of all files NAME.pem of `folder`, in the order of their names. One that cannot be used is told
/// in `complaints` and left out, so that a damaged key does not lock out the others; neither does a folder
/// that is not there, which has no keys.
PublicKeys readPublicKeys(const std::string &folder, std::vector<std::string> *complaints);

/// With which an author signs.
class SecretKey
{
public:
    /// That of a PEM file as "openssl genpkey -algorithm ed25519" writes it. One that is encrypted is read
    /// with `passphrase`; without one, libcrypto asks at the terminal.
    static std::optional<SecretKey> read(std::string_view pem, const std::optional<std::string> &passphrase,
                                         std::string *error);

    /// A new one that no file has.
    static SecretKey make();

    /// 64 bytes, the same for the same text.
    std::string sign(std::string_view text) const;

    /// The public part, for a file that PublicKeys takes.
    std::string publicPem() const;

private:
    explicit SecretKey(Key itsKey);

    Key key;
};

} // namespace gate

#endif
