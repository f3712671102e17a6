// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WATCHDOGSAMPLES_H
#define WATCHDOGSAMPLES_H

#include <QByteArray>
#include <QVector>

/// Text areas of watchdog messages, byte for byte. What sends them and what receives them are both tested
/// against this table.
struct WatchdogSample {
    const char *name;    ///< what the sample is, for a row of a test
    QByteArray textArea; ///< all 512 bytes
    const char *command; ///< what the receiver has to make of them
};

inline QVector<WatchdogSample> watchdogSamples()
{
    const auto area = [](const char *hexOfTheStart) {
        return QByteArray::fromHex(hexOfTheStart).leftJustified(512, '\0');
    };
    return {
        {"suspension for 0 s", area("737973636d645f73757370656e644030"), "syscmd_suspend@0"},
        {"suspension for 600 s", area("737973636d645f73757370656e6440363030"), "syscmd_suspend@600"},
        {"longest suspension", area("737973636d645f73757370656e644034323934393637323935"),
         "syscmd_suspend@4294967295"},
        {"stop", area("737973636d645f73746f70"), "syscmd_stop"},
        {"stop after a suspension", area("737973636d645f73746f70 00 6e6440363030"), "syscmd_stop"},
        {"resume", area("737973636d645f726573756d65"), "syscmd_resume"},
        {"restart", area("737973636d645f61707072657374617274"), "syscmd_apprestart"},
    };
}

#endif
