// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FINDINGS_H
#define FINDINGS_H

#include "reading/inifile.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

class Screen;
struct Medium;
struct Verdict;

enum class Severity { Note, Warning, Error };

/// Something about a medium that its author should know.
struct Finding {
    QString id; ///< stable, for programs and for looking it up in the manual
    Severity severity;
    QString file;
    Position at;
    QString message;
    QString right;         ///< the line that would be right, or the command that puts the file right
    int replaceBegin = -1; ///< where `right` takes the place of text in the catalogue; -1 where it does not
    int replaceEnd = -1;
};

struct Findings {
    QVector<Finding> list;      ///< in the order of the places in the catalogue, those on other files last
    QMap<QString, int> omitted; ///< by id, how many more there were; only the first of a kind are kept

    int count(Severity severity) const;
};

/// Everything that can be said about a medium. `screen` measures names.
Findings findAll(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen);

/// The ids that findings can have.
QStringList findingIds();

#endif
