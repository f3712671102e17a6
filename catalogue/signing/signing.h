// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SIGNING_H
#define SIGNING_H

#include <QString>
#include <QStringList>

struct Failure;

/// Whom a medium is for. Of a controller that verifies: who it is.
struct Signing {
    QStringList keys; ///< files of keys: to sign, the secret one; to verify, public ones, or folders of them
    QString passphraseFile; ///< what the secret key is encrypted with; empty to be asked at the terminal
    QString compatible;     ///< the controller's name; null for any, empty for one that has none
    QString serial;         ///< the medium's number; empty for none. To verify, the lowest that is accepted
};

/// Lists every file below the folder in a manifest and signs that; replaces what was signed before, or, when
/// that fails, leaves it as it was. Without a key, the signature is left to another program, and one that is
/// there stays only if the manifest is the one that it was. Stores the names of the written files in
/// `files`.
bool signMedium(const QString &folder, const Signing &signing, QStringList *files, Failure *failure);

/// What a controller's gate says of a medium.
struct Answer {
    bool isAccepted = false;
    QString line;
    QStringList complaints; ///< about keys that are left out
};

/// Asks the gate about the medium below the folder; for any controller, as of the one that it is for.
/// False when there is nothing to judge by, with the reason.
bool verifyMedium(const QString &folder, const Signing &signing, Answer *answer, Failure *failure);

#endif
