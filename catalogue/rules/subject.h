// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SUBJECT_H
#define SUBJECT_H

#include "reading/commandline.h"
#include "reading/inifile.h"
#include "reading/meaning.h"
#include "reading/medium.h"
#include "reading/script.h"
#include "reading/shell.h"
#include "reading/signedfiles.h"
#include "rules/findings.h"
#include "rules/uses.h"
#include "window/screen.h"
#include "window/verdict.h"

#include <QHash>
#include <QSet>

#include <memory>

/// An item of the list, with the place of its first character.
struct Item {
    QString text;
    int offset;
    const IniEntry *entry; ///< the line that it names; null when there is none
};

/// A line of [CMD] that the list names, both as their author meant them.
struct CommandEntry {
    const IniEntry *entry;
    QString name;
    QString command;
    bool isSkipped;       ///< marked completed, but never run
    int ats;              ///< number of "@" in it
    CommandLine split;    ///< the command's
    ShellCall shell;      ///< the command's, where it is one
    QVector<Step> steps;  ///< what it runs: itself, or what its shell does
    ScriptText shellText; ///< what else its shell's script says; without steps
    Meaning meaning;      ///< what the author wants of the command
    QVector<int> at;      ///< where each character of the entry's text is in the file
    int commandAt;        ///< the number of those in front of the command
    bool isMisread;       ///< the tool reads another text, which is told as that

    /// The place in the file of the n-th character of the command.
    int offset(int character = 0) const
    {
        return at.value(qMin(commandAt + character, at.size() - 1), entry->valueBegin);
    }
};

/// An entry's text as it was meant.
struct MeantText {
    QString text;
    int end;            ///< behind it, in the file
    bool isSure = true; ///< else only the author knows
};

/// All that a rule may look at.
class Subject
{
public:
    Subject(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen);
    /// The same medium with another catalogue, of which there is no verdict yet.
    Subject(const Subject &other, const IniFile &file);

    const Medium &medium;
    const IniFile &file;
    const Verdict &verdict;
    const Screen &screen;
    const SignedFiles signedFiles; ///< none where they do not count

    /// The file as it is written, line by line, whatever an open quotation mark makes the tool read.
    const IniFile &asWritten() const
    {
        return lineByLine ? *lineByLine : file;
    }

    const IniEntry *list = nullptr;   ///< the list that counts; null without one, or where it is of no use
    QVector<Item> items;              ///< empty without `list`
    QVector<const IniEntry *> listed; ///< the lines that the list names, or was meant to, each once
    QVector<CommandEntry> commands;   ///< of those, in the same order
    Uses uses;                        ///< of the medium, by the commands and the scripts that they call

    /// The last line with this path, which is the one that counts; null without one.
    const IniEntry *entry(const QString &path) const
    {
        return byPath.value(path);
    }
    /// The keys of [CMD] that make up a text, with blanks or other signs than a comma between them; empty
    /// where a part of it is none.
    QStringList keysIn(const QString &text) const;
    /// The lines of [CMD], and those of the list keys: the ones whose value the tool reads as one text.
    const QVector<const IniEntry *> &textEntries() const
    {
        return textLines;
    }

    /// The key as it is written, or as it could be where that is no text of one line.
    QString rawKey(const IniEntry &entry) const;
    /// The value's text as it was meant, whatever is wrong with how it is written. The right line of each
    /// finding on that has it, so that one puts right what the others are about, too. It ends before a
    /// comment that is one, but not where an unquoted semicolon cuts a command off, nor where an open
    /// quotation mark swallows the next line.
    const MeantText &meant(const IniEntry &entry) const;
    QString meantText(const IniEntry &entry) const
    {
        return meant(entry).text;
    }
    int textEnd(const IniEntry &entry) const
    {
        return meant(entry).end;
    }
    /// Whether a key with zero bytes is found by an item with them. Without, neither would be what it was.
    bool listsZeros() const;
    /// The line with another text.
    QString line(const IniEntry &entry, const QString &text) const;
    /// The line with another command.
    QString commandLine(const CommandEntry &command, const QString &text) const;
    /// A line that the tool takes for none, as a section or as a key with its value, where that is what it
    /// looks like; empty where it does not.
    QString meantLine(const IniLine &stray) const;
    /// The section of the tool's that one was meant to be which it does not know; empty where it is one of
    /// them, differs in capitals only, or is none.
    QString meantSection(const QString &section) const;
    /// The same of a key of [system].
    QString meantSystemKey(const QString &key) const;
    bool hasSection(const QString &section) const;
    /// A line of [CMD] whose key the tool looks for in [system], and finds none there.
    bool isOfSystem(const IniEntry &entry) const;
    /// A line of [system] that could be an operation, of which there is none in [CMD].
    bool isOfCommands(const IniEntry &entry) const;
    /// The keys of [CMD] that an item was meant to be which is none: one that is written otherwise, or
    /// several between which there is something else than a comma. Empty where it cannot be any.
    QStringList partsOf(const Item &item) const;
    /// A name for an operation that has none, after its key.
    QString nameFor(const IniEntry &entry) const;
    /// What makes a comment of the entry, of all its lines.
    QVector<Edit> commentedOut(const IniEntry &entry) const;
    /// The list's line with other items.
    QString listLine(const QStringList &items) const;
    QStringList itemTexts() const;
    /// The items as they were meant: without blanks around them, empty ones, and in selection mode those that
    /// stand there already.
    QStringList meantItems() const;
    /// Whether the medium has this file, by a command's path.
    bool hasFile(const QString &pathOnController) const;

private:
    void read();
    void readItems();
    void readListed(const IniEntry &written);
    void readCommands();
    MeantText readMeant(const IniEntry &entry) const;
    bool isReadAsMeant(const IniEntry &entry, const QByteArray &raw) const;
    Behind behindValue(const IniEntry &entry) const;

    QHash<QString, const IniEntry *> byPath;
    QVector<const IniEntry *> textLines;      ///< see textEntries()
    QSet<QString> missing;                    ///< items that name no line
    mutable QHash<int, MeantText> meantTexts; ///< by the beginnings of their entries
    std::unique_ptr<IniFile> lineByLine;      ///< where it differs
};

#endif
