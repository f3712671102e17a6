// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef USES_H
#define USES_H

#include "reading/script.h"

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QVector>

#include <memory>

struct CommandEntry;
struct Medium;

/// A script for a shell that is on the medium, as it is called for the first time.
struct MediumScript {
    const CommandEntry *command; ///< that leads to it
    QString path;                ///< here
    QByteArray bytes;
    QString shell; ///< what it is handed to, "sh" or "busybox sh"; empty where it is run by its name
    QString asks;  ///< what its first line asks for
    ScriptText text;
    bool isKits; ///< none of its author's
};

/// A file of the medium that a command or a script names.
struct Use {
    const CommandEntry *command;
    const MediumScript *script; ///< in which it is named; null where that is the command itself
    int line;                   ///< of the script
    QString path;               ///< on the controller
    bool isProgram;             ///< run itself, or by an interpreter
    QString interpreter;        ///< what stands in front
    QString
        found; ///< on the medium, relative to its folder, as it is spelled there; empty when it is not there
    bool isMissed; ///< it is not there, nothing makes it, and nothing asks for it first
};

/// What the commands and the scripts that they call do with the medium.
struct Uses {
    QVector<Use> list; ///< none where the medium is not known
    QVector<std::shared_ptr<const MediumScript>> scripts;
};

Uses usesOf(const Medium &medium, const QVector<CommandEntry> &commands);

/// The step of the kit that a command line is, taken apart.
struct KitStep {
    bool isStep = false;
    QString wrong; ///< why it is not run; empty where nothing is wrong
    QString name;
    QStringList command; ///< what it runs; a script of its name where nothing else is written
    int operands = 0;    ///< where its name stands among the words
};

KitStep kitStep(const QStringList &words);

/// Whether this file of the medium is the kit's.
bool isKit(const Medium &medium);

/// A step without the kit's in front.
Step withoutKit(Step step);

/// The words of a step that name files, by their places: those of programs of which that is known.
QVector<int> fileWords(const Step &step);

/// What a script's first line asks for, "sh" or "busybox sh"; empty for anything but a script.
QString interpreterOf(const QByteArray &start);

#endif
