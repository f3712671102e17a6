// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/content.h"

#include <memory>
#include <new>

#include <openssl/evp.h>

namespace gate
{

namespace
{

constexpr std::size_t bufferSize = 65536;

class Sha256
{
public:
    Sha256()
        : context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
    {
        if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
            throw std::bad_alloc();
    }

    void add(const char *bytes, std::size_t size)
    {
        EVP_DigestUpdate(context.get(), bytes, size);
    }

    /// 64 digits; nothing can be added any more.
    std::string digits()
    {
        unsigned char sum[EVP_MAX_MD_SIZE];
        unsigned int size = 0;
        EVP_DigestFinal_ex(context.get(), sum, &size);
        std::string text;
        for (unsigned int i = 0; i < size; ++i)
            text.append({"0123456789abcdef"[sum[i] >> 4], "0123456789abcdef"[sum[i] & 15]});
        return text;
    }

private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context;
};

} // namespace

bool readContent(const Descriptor &file, std::uint64_t largest, const TakeBytes &take, Content *content,
                 std::string *error)
{
    Sha256 sum;
    char buffer[bufferSize]; // as it is: filling it first would take longer than a small file itself
    long count = 0;
    *content = Content();
    do {
        count = readSome(file, buffer, bufferSize);
        if (count < 0) {
            *error = "cannot be read: " + systemError();
            return false;
        }
        content->size += static_cast<std::uint64_t>(count);
        if (content->size > largest)
            return true;
        sum.add(buffer, static_cast<std::size_t>(count));
        if (!take(buffer, static_cast<std::size_t>(count), error))
            return false;
    } while (static_cast<std::size_t>(count) == bufferSize);
    content->sha256 = sum.digits();
    return true;
}

} // namespace gate
