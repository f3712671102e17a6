// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_MANIFEST_H
#define GATE_MANIFEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gate
{

class VerifiedText;

constexpr std::size_t largestManifest = std::size_t(4) << 20; ///< bytes
constexpr std::size_t mostFiles = 20000;
constexpr std::size_t mostFolders = 20000; ///< each takes memory that no file's size tells of
constexpr std::size_t longestPath = 1024;  ///< bytes; each name in it up to 255

/// The folder of the medium that is left to what commands write; no file of it can be signed.
constexpr char resultsFolder[] = "zul_results";
constexpr char manifestPath[] = "zul_install/MANIFEST";
constexpr char signaturePath[] = "zul_install/MANIFEST.sig";

/// A file that the author vouches for.
struct ListedFile {
    std::uint64_t size = 0; ///< bytes
    unsigned int mode = 0;  ///< permissions, 0 to 0777
    std::string sha256;     ///< 64 digits, small letters
    std::string path;       ///< from the medium's root
};

/// What the author says of a medium.
struct Manifest {
    std::optional<std::string> compatible;
    std::optional<std::uint64_t> serial;
    std::vector<ListedFile> files;

    /// The bytes of all files. 64 bits hold it: the reader bounds both the number and the size of files.
    std::uint64_t size() const;
    /// The folders that the files need, each once, a folder before those in it; without the root.
    std::vector<std::string> folders() const;
};

/// Reads a manifest that somebody trusted has signed; nothing else can be read. Everything that the writer
/// below would not write, but for the order of the files, is an error: "line 7: ...". So is a path that is
/// not below the medium's root, has an empty part, "." or "..", a backslash, or bytes that are no UTF-8 or
/// control characters; one that is there twice, is below another file, too long, a manifest's, or in the
/// folder for results; and any number that is too large. The form, with the lines in brackets optional:
///
///     #zul-manifest 1
///     [#compatible NAME]
///     [#serial NUMBER]
///     #file SIZE MODE              of the next line's file, in bytes and three octal digits
///     SHA256  PATH                 as sha256sum writes it
///
/// "sha256sum --check" passes over lines with a "#", so that it reads the file as it is, "--strict" too.
std::optional<Manifest> readManifest(const VerifiedText &verified, std::string *error);

/// The bytes of `manifest`, its files in the order of the bytes of their paths; the same each time. None
/// where readManifest() would refuse them, with what it would say.
std::optional<std::string> writeManifest(Manifest manifest, std::string *error);

} // namespace gate

#endif
