// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SIGNING_H
#define SIGNING_H

#include <QString>
#include <QStringList>

struct Failure;

/// Whom a medium is for. Of a controller that verifies: who it is.
struct Signing {
    QString key;        ///< file of the key: the secret one to sign, and to verify the public one
    QString compatible; ///< the controller's name; empty for any
    QString serial;     ///< the medium's number; empty for none. To verify, the lowest that is accepted
};

/// Lists every file below the folder in a manifest and signs that; replaces what was signed before. Stores
/// the names of the two files in `files`.
bool signMedium(const QString &folder, const Signing &signing, QStringList *files, Failure *failure);

/// Stores in `line` what the controller's gate says of the medium below the folder. Without a controller's
/// name, as the one that it is for. False when there is nothing to judge by, with the reason.
bool verifyMedium(const QString &folder, const Signing &signing, bool *isAccepted, QString *line,
                  Failure *failure);

#endif
