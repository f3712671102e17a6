// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef MEANING_H
#define MEANING_H

#include <QString>
#include <QStringList>

// What an author means by a command, who writes it as for a terminal: what a shell there would do with it.

/// A text as a POSIX shell takes it apart.
struct ShellReading {
    bool isClosed = true; ///< every quotation mark and bracket
    bool isPlain = true;  ///< a shell has nothing else to do with it than to take the quotation marks away
    int comment = -1;     ///< where "#" begins one
    QStringList words;    ///< its words as the program gets them; only where it is plain
};

ShellReading readAsShell(const QString &text);

/// What is to be done with a command so that the controller, which has no shell, does what is meant.
struct Meaning {
    /// What else than the signs of a shell outside of quotation marks keeps it from running as it is written.
    enum Reason { None, Quoting, Variable, Comment, Escape };

    QString right;        ///< the command that does what is meant; as it is written where that does
    bool isSure = true;   ///< else only the author knows
    Reason reason = None; ///< none, too, where such a sign is the reason
    int at = 0;           ///< where in the command the reason is
    QString bare;         ///< the command with "x" for what is quoted, and for a shell with its script
};

Meaning meaningOf(const QString &command);

/// What is behind a semicolon that ends a value which is not in quotation marks.
enum class Behind { Command, Remark, Unknown };

/// `front` is what the semicolon ends, with the blanks in front of it.
Behind behindSemicolon(const QString &front, const QString &rest);

#endif
