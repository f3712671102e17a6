// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/verdict.h"

#include "gate/copy.h"

#include <algorithm>
#include <optional>

namespace gate
{

namespace
{

/// A file of the medium that is read whole; `missing` is what to say where there is none.
std::optional<std::string> readFrom(const Descriptor &medium, const char *path, std::size_t largest,
                                    const char *missing, std::string *error)
{
    Failure failure;
    std::string bytes;
    const Descriptor file = openBelow(medium, path, &failure);
    if (file.isOpen() && readAll(file, largest, &bytes, &failure.why))
        return bytes;
    *error = failure.isMissing ? missing : std::string(path) + ": " + failure.why;
    return std::nullopt;
}

std::optional<VerifiedText> readVerified(const Descriptor &medium, const PublicKeys &keys, std::string *error)
{
    if (keys.isEmpty()) {
        *error = "there is no key that it could be signed with";
        return std::nullopt;
    }
    std::optional<std::string> text = readFrom(medium, manifestPath, largestManifest, "no manifest", error);
    if (!text)
        return std::nullopt;
    const auto signature = readFrom(medium, signaturePath, signatureLength, "no signature", error);
    if (!signature)
        return std::nullopt;
    std::optional<VerifiedText> verified = keys.verify(std::move(*text), *signature);
    if (!verified)
        *error = "signature of no known key, or of another manifest";
    return verified;
}

std::string wrongController(const Manifest &manifest, const std::string &name)
{
    if (!manifest.compatible || *manifest.compatible == name)
        return std::string();
    return "for the controller " + *manifest.compatible + ", and this "
           + (name.empty() ? std::string("has no name") : "is " + name);
}

std::string olderSerial(const Manifest &manifest, const Policy &policy)
{
    const std::uint64_t remembered = policy.settings.rememberSerial ? policy.rememberedSerial : 0;
    const std::uint64_t lowest = std::max(policy.settings.minimumSerial, remembered);
    if (manifest.serial.value_or(0) >= lowest)
        return std::string();
    return (manifest.serial ? "serial " + std::to_string(*manifest.serial) : std::string("no serial"))
           + ", and " + std::to_string(lowest) + " is the lowest that is accepted";
}

std::string tooBig(const Manifest &manifest, const Policy &policy)
{
    if (manifest.size() > policy.settings.maximumSize)
        return "its files have " + std::to_string(manifest.size()) + " bytes, and "
               + std::to_string(policy.settings.maximumSize) + " are accepted";
    const std::uint64_t kept = std::min(policy.settings.freeMemory, policy.availableMemory);
    const std::uint64_t needed = needsOf(manifest).bytes;
    if (needed <= policy.availableMemory - kept)
        return std::string();
    return "its files need " + std::to_string(needed) + " bytes of memory, and "
           + std::to_string(policy.availableMemory - kept) + " can be had";
}

/// Everything but the files: accepted so far, or refused.
Verdict judgeManifest(const Descriptor &medium, const Policy &policy)
{
    Verdict verdict;
    const std::optional<VerifiedText> verified = readVerified(medium, policy.keys, &verdict.refusal);
    if (!verified)
        return verdict;
    verdict.key = verified->key();
    std::optional<Manifest> manifest = readManifest(*verified, &verdict.refusal);
    if (!manifest) {
        verdict.refusal = std::string(manifestPath) + ": " + verdict.refusal;
        return verdict;
    }
    verdict.manifest = std::move(*manifest);
    for (const std::string &wrong :
         {wrongController(verdict.manifest, policy.settings.compatible),
          olderSerial(verdict.manifest, policy), tooBig(verdict.manifest, policy)}) {
        if (verdict.refusal.empty())
            verdict.refusal = wrong;
    }
    verdict.isAccepted = verdict.refusal.empty();
    return verdict;
}

using TakeFile = std::function<bool(const ListedFile &file, std::string *error)>;

void judgeFiles(Verdict *verdict, const TakeFile &take)
{
    const std::vector<ListedFile> &files = verdict->manifest.files;
    verdict->isAccepted = std::all_of(files.begin(), files.end(),
                                      [&](const ListedFile &file) { return take(file, &verdict->refusal); });
}

} // namespace

Verdict judge(const Descriptor &medium, const Policy &policy)
{
    Verdict verdict = judgeManifest(medium, policy);
    if (verdict.isAccepted)
        judgeFiles(&verdict, [&](const ListedFile &file, std::string *error) {
            return checkFile(medium, file, error);
        });
    return verdict;
}

Verdict judgeAndCopy(const Descriptor &medium, const Policy &policy, const MakeRoom &makeRoom)
{
    Verdict verdict = judgeManifest(medium, policy);
    if (!verdict.isAccepted)
        return verdict;
    const Descriptor target = makeRoom(verdict.manifest, &verdict.refusal);
    verdict.isAccepted = target.isOpen() && makeFolders(verdict.manifest, target, &verdict.refusal);
    if (verdict.isAccepted)
        judgeFiles(&verdict, [&](const ListedFile &file, std::string *error) {
            return copyFile(medium, file, target, error);
        });
    return verdict;
}

} // namespace gate
