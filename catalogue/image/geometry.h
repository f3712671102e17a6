// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GEOMETRY_H
#define GEOMETRY_H

#include "image/contents.h"

#include <optional>

constexpr int sectorBytes = 512;
constexpr qint64 partitionStart = 2048; ///< in sectors, as systems that format cards have it

/// A FAT32 file system, in sectors.
struct Geometry {
    int clusterSectors = 1;
    qint64 sectors = 0; ///< even

    qint64 imageBytes() const
    {
        return (partitionStart + sectors) * sectorBytes;
    }
};

/// The smallest that holds the contents.
Geometry smallestFor(const Contents &contents);
/// The one of an image of so many bytes; none when that does not hold the contents, or no FAT32 has that
/// size.
std::optional<Geometry> geometryOf(qint64 imageBytes, const Contents &contents);
/// "48M" and "48MiB", of 1024 each, or "48MB", of 1000 as cards are sold, in bytes; without a letter, bytes.
/// Of whole sectors, which a size of thousands is rounded down to, up to what a partition table can tell.
std::optional<qint64> readSize(const QString &text);

#endif
