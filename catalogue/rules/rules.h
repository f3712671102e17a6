#ifndef RULES_H
#define RULES_H

#include "reading/commandline.h"
#include "reading/medium.h"
#include "rules/findings.h"
#include "window/screen.h"
#include "window/verdict.h"

#include <QHash>

#include <functional>

/// An item of the list, with the place of its first character.
struct Item {
    QString text;
    int offset;
    const IniEntry *entry; ///< the line that it names; null when there is none
};

/// A line of [CMD] that the list names, as its author meant it.
struct CommandEntry {
    const IniEntry *entry;
    QString name;
    QString command;
    int ats;           ///< number of "@" in it
    CommandLine split; ///< the command's
    QString bare;      ///< the command with "x" for what is quoted; empty when it is handed to a shell
};

/// All that a rule may look at.
class Subject
{
public:
    Subject(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen);

    const Medium &medium;
    const IniFile &file;
    const Verdict &verdict;
    const Screen &screen;

    const IniEntry *list = nullptr; ///< the list that counts; null without one, or where it is of no use
    QVector<Item> items;            ///< empty without `list`
    QVector<CommandEntry> commands; ///< each line once, in list order

    /// The last line with this path, which is the one that counts; null without one.
    const IniEntry *entry(const QString &path) const
    {
        return byPath.value(path);
    }
    /// The lines of [CMD], and those of the list keys: the ones whose value the tool reads as one text.
    QVector<const IniEntry *> textEntries() const;

    /// The key as it is written.
    QString rawKey(const IniEntry &entry) const;
    /// The value as it is written, up to the end of the line, without the blanks around it.
    QByteArray rawValue(const IniEntry &entry) const;
    /// The line with another text.
    QString line(const IniEntry &entry, const QString &text) const;
    /// The line with another command.
    QString commandLine(const CommandEntry &command, const QString &text) const;
    /// The line as a comment.
    QString commented(const IniEntry &entry) const;
    /// The list's line with other items: blanks around them and empty ones left out.
    QString listLine(const QStringList &items) const;
    QStringList itemTexts() const;

private:
    void readItems();
    void readCommands();

    QHash<QString, const IniEntry *> byPath;
};

/// Takes the findings of one rule.
class Report
{
public:
    Report(const Subject &subject, Findings *findings);

    void startRule(const char *id, Severity severity);
    /// Whether the next one will be kept, or only counted, so that it need not say what would be right.
    bool hasRoom() const;
    /// At a place in the catalogue.
    void add(int offset, const QString &message, const QString &right);
    /// At a place in an entry, whose line, or lines, `right` replaces.
    void replace(const IniEntry &entry, int offset, const QString &message, const QString &right);
    void replace(int begin, int end, int offset, const QString &message, const QString &right);
    /// On another file of the medium, or on the medium.
    void addOther(const QString &path, const QString &message, const QString &right);

private:
    void keep(const Finding &finding);

    const Subject &subject;
    Findings *findings;
    QString id;
    Severity severity = Severity::Note;
    int kept = 0;
};

struct Rule {
    const char *id;
    Severity severity;
    void (*find)(const Subject &subject, Report &report);
};

QVector<Rule> fileRules();
QVector<Rule> listRules();
QVector<Rule> commandRules();
QVector<Rule> mediumRules();

/// The value's text if everything that is written in it were to reach the tool: `raw` is taken as the inside
/// of quotes, its own quotation marks included.
QString textOfRaw(const QByteArray &raw, bool keepQuotes);

/// Whether the settings reader takes a value of this form for something else than a text.
bool isSpecialValue(const QString &text);

/// Whether a command hands a script to a shell: "sh -c SCRIPT".
bool isShellScript(const QStringList &words);

/// A key as it is written, with escapes for all that the reader would change.
QString writtenKey(const QString &key);

/// A path as it is written for a shell.
QString shellWord(const QString &path);

/// Offsets of the quotation marks in the value that are not escaped.
QVector<int> bareQuotes(const IniFile &file, const IniEntry &entry);

/// Whether a quotation mark carries the value over the end of its line.
bool swallowsLines(const IniFile &file, const IniEntry &entry);

/// The end of the line, as the text shows it, that this byte is on.
int lineEnd(const QByteArray &bytes, int from);

#endif
