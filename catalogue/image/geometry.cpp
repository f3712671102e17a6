// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "image/geometry.h"

#include <QRegularExpression>

namespace
{

constexpr qint64 reservedSectors = 32;
constexpr int tables = 2;
constexpr int tableEntryBytes = 4;
constexpr int folderEntryBytes = 32;
// With fewer it would be taken for FAT16. 16 more, because not every system counts as it should.
constexpr qint64 fewestClusters = 65525 + 16;
constexpr qint64 mostClusters = 0x0ffffff5;
constexpr int largestCluster = 64;                          ///< in sectors; all systems know 32 KiB
constexpr qint64 largestImage = 0xffffffffLL * sectorBytes; ///< of what a partition table can tell

qint64 divideUp(qint64 dividend, qint64 divisor)
{
    return (dividend + divisor - 1) / divisor;
}

/// A folder grows by a cluster, in which mtools then wants to have room for the whole of a name.
int smallestCluster(const Contents &contents)
{
    return contents.longestName * folderEntryBytes > sectorBytes ? 2 : 1;
}

qint64 clustersFor(const Contents &contents, int clusterSectors)
{
    const qint64 bytes = qint64(clusterSectors) * sectorBytes;
    qint64 clusters = 0;
    for (const CardItem &item : contents.items)
        clusters += divideUp(item.isFolder ? item.entries * folderEntryBytes : item.bytes, bytes);
    return std::max(clusters, fewestClusters);
}

/// With a cluster to spare, for the rounding of whoever makes it.
qint64 sectorsFor(qint64 clusters, int clusterSectors)
{
    const qint64 table = divideUp((clusters + 3) * tableEntryBytes, sectorBytes);
    const qint64 sectors = reservedSectors + tables * table + (clusters + 1) * clusterSectors;
    return sectors + sectors % 2;
}

/// What cards of this size are formatted with.
int usualCluster(qint64 bytes)
{
    constexpr qint64 mega = 1 << 20, giga = 1 << 30;
    return bytes <= 260 * mega  ? 1
           : bytes <= 8 * giga  ? 8
           : bytes <= 16 * giga ? 16
           : bytes <= 32 * giga ? 32
                                : 64;
}

} // namespace

Geometry smallestFor(const Contents &contents)
{
    Geometry smallest;
    for (int cluster = smallestCluster(contents); cluster <= largestCluster; cluster *= 2) {
        const qint64 clusters = clustersFor(contents, cluster);
        const qint64 sectors = sectorsFor(clusters, cluster);
        if (clusters <= mostClusters && (smallest.sectors == 0 || sectors < smallest.sectors))
            smallest = {cluster, sectors};
    }
    return smallest;
}

std::optional<Geometry> geometryOf(qint64 imageBytes, const Contents &contents)
{
    qint64 sectors = imageBytes / sectorBytes - partitionStart;
    sectors -= sectors % 2;
    const int usual = std::max(usualCluster(imageBytes), smallestCluster(contents));
    for (int cluster = usual; cluster >= smallestCluster(contents); cluster /= 2) {
        const bool isCounted = sectors / cluster <= mostClusters;
        if (isCounted && sectorsFor(clustersFor(contents, cluster), cluster) <= sectors)
            return Geometry{cluster, sectors};
    }
    return std::nullopt;
}

std::optional<qint64> readSize(const QString &text)
{
    static const QRegularExpression form("^([0-9]{1,13})([KMGT]?)(|iB|B)$");
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch() || (match.captured(2).isEmpty() && !match.captured(3).isEmpty()))
        return std::nullopt;
    const bool isOfThousands = match.captured(3) == "B";
    qint64 unit = 1;
    for (int power = QString("KMGT").indexOf(match.captured(2)); !match.captured(2).isEmpty() && power >= 0;
         --power)
        unit *= isOfThousands ? 1000 : 1024;
    const qint64 number = match.captured(1).toLongLong();
    if (number == 0 || number > largestImage / unit)
        return std::nullopt;
    const qint64 rest = number * unit % sectorBytes;
    return rest == 0 || isOfThousands ? std::optional<qint64>(number * unit - rest) : std::nullopt;
}
