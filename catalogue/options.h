// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef OPTIONS_H
#define OPTIONS_H

#include "signing/signing.h"

#include <QString>
#include <QStringList>

/// What the command line asks for.
struct Options {
    QStringList words; ///< the command and its arguments
    bool strict = false;
    bool watch = false;
    bool write = false;
    bool help = false;
    bool version = false;
    bool kit = false;
    bool manifestOnly = false;
    QString output;
    QString language;
    QString mountedAt;
    QString format; ///< empty for the usual one
    QString expect;
    QString size;
    Signing signing;
};

/// False with the reason where that is not how the program is used. With `help` or `version`, the rest is
/// not looked at.
bool readOptions(const QStringList &arguments, Options *options, QString *error);

#endif
