// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/script.h"

#include <QRegularExpression>
#include <QSet>

namespace
{

/// Takes a script apart.
class ScriptReader
{
public:
    explicit ScriptReader(const QString &itsText)
        : text(itsText)
    {
    }

    QVector<Step> read()
    {
        while (i < text.size())
            readNext();
        endStep();
        return steps;
    }

private:
    void readNext()
    {
        const QChar character = text.at(i);
        if (character == '\'' || character == '"')
            readQuoted(character);
        else if (character == '\\')
            readEscape();
        else if (character == '#' && !inWord)
            skipLine();
        else if (character == '<' || character == '>')
            readRedirection();
        else if (character == '\n' || QString(";&|(){}`").contains(character))
            readSeparator(character);
        else if (character.isSpace())
            endWord(), ++i;
        else
            append(character), ++i;
    }

    void append(QChar character)
    {
        word += character;
        inWord = true;
    }

    void readEscape()
    {
        if (i + 1 < text.size() && text.at(i + 1) == '\n')
            ++line;
        else if (i + 1 < text.size())
            append(text.at(i + 1));
        i += 2;
    }

    void readQuoted(QChar mark)
    {
        inWord = true;
        for (++i; i < text.size() && text.at(i) != mark; ++i) {
            if (text.at(i) == '\n')
                ++line;
            if (mark == '"' && text.at(i) == '\\' && i + 1 < text.size()
                && QString("\\\"$`").contains(text.at(i + 1)))
                ++i;
            word += text.at(i);
        }
        ++i;
    }

    void skipLine()
    {
        while (i < text.size() && text.at(i) != '\n')
            ++i;
    }

    void readRedirection()
    {
        static const QRegularExpression descriptor("^\\d$");
        if (descriptor.match(word).hasMatch())
            word.clear(), inWord = false;
        endWord();
        const bool isHere = text.mid(i, 2) == "<<" && text.mid(i, 3) != "<<<";
        goesOut = text.at(i) == '>';
        isTarget = true;
        while (i < text.size() && QString("<>|-").contains(text.at(i)))
            ++i;
        if (i < text.size() && text.at(i) == '&') { // to another descriptor, which is no file
            ++i;
            while (i < text.size() && (text.at(i).isDigit() || text.at(i) == '-'))
                ++i;
            isTarget = false;
        }
        if (isHere)
            skipHereDocument();
    }

    /// Up to the line that has the word only.
    void skipHereDocument()
    {
        static const QRegularExpression name("^\\s*(['\"\\\\]?)(\\w+)");
        const QRegularExpressionMatch match = name.match(text.mid(i));
        const QRegularExpression end("\\n\\t*" + match.captured(2) + "(?=\\n|$)");
        const QRegularExpressionMatch found = end.match(text, i);
        isTarget = false;
        if (!match.hasMatch() || !found.hasMatch())
            return;
        const int behind = found.capturedEnd();
        line += text.mid(i, behind - i).count('\n');
        i = behind;
        endStep();
    }

    void readSeparator(QChar character)
    {
        const bool isBrace = character == '{' || character == '}';
        const bool isVariable = character == '{' && word.endsWith('$');
        if (isVariable || (isBrace && inWord)) {
            append(character); // of ${NAME}, or of a word with alternatives
            ++i;
            return;
        }
        if (character == '(' && word.endsWith('$'))
            word.chop(1), inWord = !word.isEmpty();
        endStep();
        if (character == '\n')
            ++line;
        ++i;
    }

    void endWord()
    {
        static const QSet<QString> decisions = {"if",   "then",  "else",  "elif", "fi",   "do",
                                                "done", "while", "until", "!",    "esac", "time"};
        if (inWord && isTarget) {
            if (goesOut)
                step.outputs.append(word);
            isTarget = false;
        } else if (inWord && !(step.words.isEmpty() && decisions.contains(word))) {
            if (step.words.isEmpty())
                step.line = line;
            step.words.append(word);
        }
        word.clear();
        inWord = false;
    }

    void endStep()
    {
        endWord();
        step.run = withoutWrappers(step.words);
        step.program = programOf(step.run);
        if (!step.words.isEmpty() || !step.outputs.isEmpty())
            steps.append(step);
        step = Step();
        isTarget = false;
    }

    const QString &text;
    int i = 0;
    int line = 1;
    QString word;
    bool inWord = false;
    bool isTarget = false; ///< the next word is where a redirection goes
    bool goesOut = false;
    Step step;
    QVector<Step> steps;
};

} // namespace

QString programOf(const QStringList &words)
{
    const QString first = words.value(0);
    const int from = first.lastIndexOf('/') + 1;
    const int dot = first.indexOf('.', from);
    return first.mid(from, dot < 0 ? -1 : dot - from);
}

QVector<Step> stepsOf(const QString &script)
{
    return ScriptReader(script).read();
}

QStringList withoutWrappers(const QStringList &words)
{
    static const QSet<QString> wrappers = {"env",     "nohup",  "setsid",  "nice",   "ionice",
                                           "timeout", "stdbuf", "busybox", "sudo",   "command",
                                           "exec",    "chrt",   "time",    "unshare"};
    static const QSet<QString> takeValue = {"-n", "-c", "-k", "-s", "-i", "-o", "-e", "-u", "-p"};
    static const QRegularExpression assignment("^[A-Za-z_]\\w*=");
    int at = 0;
    while (at < words.size()) {
        const QString &word = words.at(at);
        if (word.contains('=') && assignment.match(word).hasMatch()) {
            ++at;
            continue;
        }
        const QString program = word.mid(word.lastIndexOf('/') + 1);
        if (!wrappers.contains(program))
            break;
        ++at;
        while (at < words.size() && words.at(at).startsWith('-'))
            at += takeValue.contains(words.at(at)) ? 2 : 1;
        if (program == "timeout")
            ++at; // how long
    }
    return at == 0 ? words : QStringList(words.mid(at));
}
