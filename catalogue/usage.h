// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef USAGE_H
#define USAGE_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// An option as a command takes it. It has a value with each command that takes it, or with none.
struct CommandOption {
    QStringList names; ///< without dashes, a short one first
    QString value;     ///< what stands for its value; empty where it has none
    QString help;
    bool isNeeded = false;
    QStringList choices = {}; ///< that the value is one of; empty where it is anything

    QString name() const
    {
        return names.last();
    }
};

/// What stands behind the program's name first.
struct Command {
    QString name;
    QString argument; ///< what stands for what it works on; empty where that is nothing
    bool takesSeveral;
    QString summary; ///< one line
    QString more;    ///< lines; can be empty
    QVector<CommandOption> options;

    const CommandOption *option(const QString &optionName) const;
};

/// All of them, in the order in which an author comes to need them.
const QVector<Command> &commands();
/// Null where there is none of this name.
const Command *commandOf(const QString &name);

/// What all commands are for; it fits on a screen of 80 by 24.
QByteArray generalHelp();
/// What one command takes.
QByteArray helpOf(const Command &command);

#endif
