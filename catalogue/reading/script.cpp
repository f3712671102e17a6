// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/script.h"

#include "common/controller.h"
#include "reading/shell.h"

#include <QDir>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

constexpr int mostValues = 16;   ///< of a word with variables of a loop in it
constexpr int deepestScript = 4; ///< scripts within scripts

QString folderOf(const QString &path)
{
    const int slash = path.lastIndexOf('/');
    return slash < 0 ? QString(".") : slash == 0 ? QString("/") : path.left(slash);
}

/// Where a step is that is run after "cd WORD" in this folder.
QString entered(const QString &folder, const QString &word)
{
    if (word.isEmpty() || word == "-" || hasShellVariable(word) || word.startsWith('~'))
        return unknownFolder;
    if (word.startsWith('/'))
        return QDir::cleanPath(word);
    return folder.startsWith('/') ? QDir::cleanPath(folder + '/' + word) : unknownFolder;
}

/// Whether a time limit stands in front, and is one: "timeout 0" is none.
bool hasTimeLimit(const QStringList &words)
{
    static const QRegularExpression none("^0+(\\.0*)?[smhd]?$");
    int at = words.indexOf(QLatin1String("timeout"));
    if (at < 0)
        return false;
    for (++at; at < words.size() && words.at(at).startsWith('-'); ++at) {
        if (words.at(at) == "-k" || words.at(at) == "-s")
            ++at;
    }
    return !none.match(words.value(at)).hasMatch();
}

/// The folder that "env -C" enters; empty without one.
QString folderOfEnv(const QStringList &words)
{
    if (!words.value(0).endsWith(QLatin1String("env")))
        return QString();
    const int at = words.indexOf(QLatin1String("-C"));
    return at > 0 ? words.value(at + 1) : QString();
}

// NOLINTBEGIN(misc-no-recursion): scripts are in scripts, and none deeper than deepestScript is read
/// Takes a script apart.
class ScriptReader
{
public:
    ScriptReader(const QString &itsText, const ScriptContext &context, int itsDepth)
        : text(itsText)
        , variables(context.variables)
        , folder(context.folder)
        , depth(itsDepth)
    {
    }

    ScriptText read()
    {
        while (i < text.size())
            readNext();
        endStep(Separator::End);
        script.assigned += assigned;
        return script;
    }

private:
    enum class Separator { End, Pipe, Or, And, Background };

    struct Group {
        QChar kind; ///< "(", "{", or "l" for a loop
        int firstStep;
        int line;
        QString word; ///< of a loop: "while", "until", "for"
        QString folder;
        bool isFed;                            ///< by a pipe in front of it
        QHash<QString, QStringList> arguments; ///< of a function: those of what is around it
    };

    // --- Characters

    void readNext()
    {
        if (expectsPattern && !inWord) {
            skipPattern();
            return;
        }
        const QChar character = text.at(i);
        if (character == '\'')
            readLiteral();
        else if (character == '"')
            readQuoted();
        else if (character == '\\')
            readEscape();
        else if (character == '$' || character == '`')
            readVariable();
        else if (character == '#' && !inWord)
            skipLine();
        else if (character == '<' || character == '>' || (character == '&' && next() == '>'))
            readRedirection();
        else if (isOneOf("\n;&|(){}", character))
            readSeparator(character);
        else if (character.unicode() < 0x80 && character.isSpace())
            endWord(), ++i;
        else
            readLetter(character), ++i;
    }

    QChar next(int by = 1) const
    {
        return i + by < text.size() ? text.at(i + by) : QChar();
    }

    void readLetter(QChar character)
    {
        if (character.unicode() >= 0x80 && !character.isLetterOrNumber() && !character.isMark()
            && !character.isSurrogate())
            script.strays.append({character, line});
        append(character);
    }

    void append(const QString &what)
    {
        for (QString &value : word)
            value += what;
        inWord = true;
    }

    void readEscape()
    {
        if (next() == '\n')
            ++line;
        else if (i + 1 < text.size())
            append(next());
        i += 2;
    }

    void readLiteral()
    {
        const int end = text.indexOf('\'', i + 1);
        const QString inside = text.mid(i + 1, (end < 0 ? text.size() : end) - i - 1);
        append(inside);
        line += inside.count('\n');
        i = end < 0 ? text.size() : end + 1;
    }

    void readQuoted()
    {
        inWord = true;
        for (++i; i < text.size() && text.at(i) != '"';) {
            if (text.at(i) == '$' || text.at(i) == '`') {
                readVariable();
                continue;
            }
            if (text.at(i) == '\n')
                ++line;
            if (text.at(i) == '\\' && i + 1 < text.size() && isOneOf("\\\"$`", next()))
                ++i;
            append(text.at(i++));
        }
        ++i;
    }

    void skipLine()
    {
        while (i < text.size() && text.at(i) != '\n')
            ++i;
    }

    // --- Variables

    /// Behind the mark that closes what is opened at i.
    int behindClosing(QChar open, QChar close, int from) const
    {
        int level = 0;
        for (int at = from; at < text.size(); ++at) {
            if (text.at(at) == '\\')
                ++at;
            else if (text.at(at) == '\'' && open == '(')
                at = qMax(at, text.indexOf('\'', at + 1));
            else if (text.at(at) == open)
                ++level;
            else if (text.at(at) == close && --level == 0)
                return at + 1;
        }
        return text.size();
    }

    void readVariable()
    {
        const int begin = i;
        QStringList values;
        if (text.at(i) == '`') {
            int end = i + 1;
            while (end < text.size() && text.at(end) != '`')
                end += text.at(end) == '\\' ? 2 : 1;
            values = outputOf(text.mid(i + 1, qMin(end, text.size()) - i - 1));
            i = qMin(end + 1, text.size());
        } else if (next() == '(' && next(2) == '(') {
            i = behindClosing('(', ')', i + 1);
        } else if (next() == '(') {
            i = behindClosing('(', ')', i + 1);
            values = outputOf(text.mid(begin + 2, i - begin - 3));
        } else if (next() == '{') {
            i = behindClosing('{', '}', i + 1);
            values = valuesOf(text.mid(begin + 2, i - begin - 3));
        } else {
            static const QRegularExpression name("\\G\\$(\\w+|[@*#?$!-])");
            static const QRegularExpression digit("^\\d\\w");
            const QRegularExpressionMatch match =
                name.match(text, i, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption);
            QString called = match.captured(1);
            if (digit.match(called).hasMatch())
                called = called.left(1);
            i += 1 + called.size();
            values = variables.value(called);
        }
        const QString written = text.mid(begin, i - begin);
        line += written.count('\n');
        insert(values.isEmpty() ? QStringList(written) : values);
    }

    void insert(const QStringList &values)
    {
        inWord = true;
        if (values.size() * word.size() > mostValues) {
            append("$many");
            return;
        }
        QStringList all;
        for (const QString &begin : qAsConst(word)) {
            for (const QString &value : values)
                all.append(begin + value);
        }
        word = all;
    }

    /// Of "${...}", by what stands between the braces; empty where that is not known.
    QStringList valuesOf(const QString &inside) const
    {
        static const QRegularExpression form("^(\\w+)(?:(:?[-=])(.*)|(%%?/\\*)|(:?\\?.*))?$",
                                             QRegularExpression::DotMatchesEverythingOption);
        const QRegularExpressionMatch match = form.match(inside);
        QStringList values = variables.value(match.captured(1));
        if (!match.hasMatch())
            return {};
        if (match.captured(4) == "%/*" && values.size() == 1)
            return {folderOf(values.first())};
        if (!match.captured(4).isEmpty())
            return {};
        const QString instead = match.captured(3);
        if (values.isEmpty() && !match.captured(2).isEmpty() && !hasShellVariable(instead)
            && !assigned.contains(match.captured(1)))
            return {QString(instead).remove('"').remove('\'')};
        return values;
    }

    /// What the commands print, where that can be known; what they run belongs to the script.
    QStringList outputOf(const QString &commands)
    {
        if (depth >= deepestScript)
            return {};
        ScriptContext inner;
        inner.variables = variables;
        inner.folder = folder;
        const ScriptText inside = ScriptReader(commands, inner, depth + 1).read();
        adopt(inside);
        if (inside.steps.isEmpty())
            return {};
        const Step &last = inside.steps.last();
        const QString value = last.words.value(last.words.size() - 1);
        const bool isKnown = last.words.size() == 2 && !hasShellVariable(value);
        if (last.program == "pwd" && last.folder.startsWith('/'))
            return {last.folder};
        if (last.program == "dirname" && isKnown)
            return {folderOf(value)};
        if (last.program == "which" && isKnown)
            return {value};
        if (last.program == "basename" && isKnown)
            return {value.section('/', -1)};
        const bool isLink =
            last.program == "readlink" && last.words.value(1) == "-f" && last.words.size() == 3;
        if ((last.program == "realpath" && isKnown) || (isLink && !hasShellVariable(value)))
            return {value};
        return {};
    }

    void adopt(const ScriptText &inside)
    {
        for (Step inner : inside.steps) {
            inner.line += line - 1;
            script.steps.append(inner);
        }
        script.asked += inside.asked;
        script.assigned += inside.assigned;
    }

    void assign(const QString &name, const QStringList &values)
    {
        const bool isKnown =
            !values.isEmpty() && std::none_of(values.begin(), values.end(), hasShellVariable);
        const bool isDecided = conditions > 0 || !groups.isEmpty() || isChained;
        const QStringList earlier = variables.value(name);
        if (!isKnown || (isDecided && !earlier.isEmpty() && earlier != values))
            variables.remove(name);
        else
            variables.insert(name, values);
        assigned.insert(name);
    }

    // --- Redirections

    void readRedirection()
    {
        static const QRegularExpression descriptor("^\\d$");
        if (word.size() == 1 && descriptor.match(word.first()).hasMatch())
            clearWord();
        endWord();
        if (text.at(i) == '&')
            ++i;
        const bool isHere = text.midRef(i, 2) == QLatin1String("<<") && next(2) != '<';
        goesOut = text.at(i) == '>';
        isTarget = true;
        while (i < text.size() && isOneOf("<>|-", text.at(i)))
            ++i;
        if (i < text.size() && text.at(i) == '&') { // to another descriptor, which is no file
            ++i;
            while (i < text.size() && (text.at(i).isDigit() || text.at(i) == '-'))
                ++i;
            isTarget = false;
        }
        if (isHere)
            readHereDocument();
    }

    /// What follows the lines up to the one that has the word only is read as of the line after them.
    void readHereDocument()
    {
        static const QRegularExpression name("\\G\\s*(['\"\\\\]?)(\\w+)['\"]?");
        const QRegularExpressionMatch match =
            name.match(text, i, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption);
        isTarget = false;
        step.isFed = true;
        if (!match.hasMatch())
            return;
        i = match.capturedEnd();
        hereDocuments.append(match.captured(2));
    }

    void skipHereDocuments()
    {
        for (const QString &name : qAsConst(hereDocuments)) {
            const QRegularExpression end("(?<=\\n)\\t*" + name + "(?=\\n|$)");
            const QRegularExpressionMatch found = end.match(text, i);
            const int behind = found.hasMatch() ? found.capturedEnd() : text.size();
            line += text.midRef(i, behind - i).count('\n');
            i = behind;
        }
        hereDocuments.clear();
    }

    // --- Words and steps

    void clearWord()
    {
        word = QStringList(QString());
        inWord = false;
    }

    void endWord()
    {
        if (!inWord)
            return;
        const QStringList values = word;
        const bool wasTarget = isTarget;
        clearWord();
        isTarget = false;
        if (wasTarget)
            (goesOut ? step.outputs : step.inputs) += values;
        else if (!step.words.isEmpty() || !readKeyword(values.first()))
            appendWords(values);
    }

    void appendWords(const QStringList &values)
    {
        if (step.words.isEmpty())
            step.line = line;
        step.words += values;
        if (step.words.size() == 3 && step.words.first() == "case" && values.first() == "in") {
            step.words.clear();
            expectsPattern = true;
            ++conditions;
        }
    }

    /// Whether the word is one of the shell's, for deciding or repeating, and no program.
    bool readKeyword(const QString &first)
    {
        static const QSet<QString> others = {"then", "else", "elif", "do", "!", "time"};
        if (first == "if") {
            ++conditions;
        } else if (first == "fi" || first == "esac") {
            conditions = qMax(0, conditions - 1);
        } else if (first == "while" || first == "until") {
            groups.append({'l', script.steps.size(), line, first, folder, before == Separator::Pipe, {}});
        } else if (first == "done") {
            endLoop();
        } else {
            return others.contains(first);
        }
        return true;
    }

    void endLoop()
    {
        if (groups.isEmpty() || groups.last().kind != 'l')
            return;
        const Group loop = groups.takeLast();
        feed(loop.firstStep);
        const Step condition = script.steps.value(loop.firstStep);
        const QString asked = condition.words.join(' ');
        const bool isForEver = (loop.word == "while" && QStringList{"true", ":", "[ 1 ]"}.contains(asked))
                               || (loop.word == "until" && asked == "false");
        static const QSet<QString> ends = {"break", "exit", "return", "exec", "reboot", "kill"};
        const auto endsIt = [](const Step &one) { return ends.contains(one.words.value(0)); };
        if (!isForEver || std::any_of(script.steps.begin() + loop.firstStep, script.steps.end(), endsIt))
            return;
        Step repeated;
        repeated.words = repeated.run = QStringList{loop.word, asked};
        repeated.program = loop.word;
        repeated.line = loop.line;
        repeated.folder = folder;
        repeated.repeats = true;
        repeated.isBackground = isInBackground(i);
        script.steps.append(repeated);
    }

    /// Where a group is redirected, what is in it reads from there.
    void feed(int firstStep)
    {
        static const QRegularExpression input("\\G[ \\t})]*<(?!\\()");
        const auto anchored = QRegularExpression::AnchoredMatchOption;
        if (!input.match(text, i, QRegularExpression::NormalMatch, anchored).hasMatch())
            return;
        for (int at = firstStep; at < script.steps.size(); ++at)
            script.steps[at].isFed = true;
    }

    bool isInBackground(int from) const
    {
        int at = from;
        while (at < text.size() && (text.at(at) == ' ' || text.at(at) == '\t'))
            ++at;
        return at < text.size() && text.at(at) == '&' && (at + 1 >= text.size() || text.at(at + 1) != '&');
    }

    /// Up to and with the ")" behind a pattern of "case".
    void skipPattern()
    {
        if (text.at(i) == '\n')
            ++line;
        if (text.at(i).isSpace()) {
            ++i;
            return;
        }
        expectsPattern = false;
        if (text.midRef(i, 4) == QLatin1String("esac"))
            return;
        while (i < text.size() && text.at(i) != ')')
            line += text.at(i++) == '\n';
        ++i;
    }

    void readSeparator(QChar character)
    {
        if ((character == '{' || character == '}') && inWord) {
            append(character); // of a word with alternatives
            ++i;
            return;
        }
        static const QRegularExpression function("\\G\\(\\s*\\)");
        if (character == '(' && inWord && step.words.isEmpty()
            && function
                   .match(text, i, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption)
                   .hasMatch()) {
            clearWord(); // the name of a function
            i = text.indexOf(')', i) + 1;
            isBody = true;
            return;
        }
        const bool isTwice = next() == character;
        const bool isPipe = character == '|' && !isTwice;
        const bool isChain = isTwice && (character == '|' || character == '&');
        endStep(isPipe                        ? Separator::Pipe
                : isChain && character == '|' ? Separator::Or
                : isChain                     ? Separator::And
                : character == '&'            ? Separator::Background
                                              : Separator::End);
        if (character == '(' || character == '{')
            groups.append({character, script.steps.size(), line, QString(), folder, before == Separator::Pipe,
                           isBody ? takeArguments() : QHash<QString, QStringList>()});
        if (!character.isSpace())
            isBody = false;
        if (character == ')' || character == '}')
            endGroup(character == ')' ? '(' : '{');
        if (character == ';' && isTwice && conditions > 0)
            expectsPattern = true;
        i += isChain || (character == ';' && isTwice) ? 2 : 1;
        if (character == '|' && isPipe && i < text.size() && text.at(i) == '&')
            ++i;
        if (character == '\n') {
            ++line;
            skipHereDocuments();
        }
    }

    /// A function has its own, which are those of its calls; "$0" stays.
    QHash<QString, QStringList> takeArguments()
    {
        QHash<QString, QStringList> arguments;
        for (auto variable = variables.begin(); variable != variables.end();) {
            if (variable.key().at(0).isDigit() && variable.key() != "0") {
                arguments.insert(variable.key(), *variable);
                variable = variables.erase(variable);
            } else {
                ++variable;
            }
        }
        return arguments;
    }

    void endGroup(QChar kind)
    {
        if (groups.isEmpty() || groups.last().kind != kind)
            return;
        const Group group = groups.takeLast();
        feed(group.firstStep);
        for (auto argument = group.arguments.begin(); argument != group.arguments.end(); ++argument)
            variables.insert(argument.key(), *argument);
        if (kind == '(')
            folder = group.folder;
        if (!isInBackground(i + 1))
            return;
        for (int at = group.firstStep; at < script.steps.size(); ++at)
            script.steps[at].isBackground = true;
    }

    void endStep(Separator separator)
    {
        endWord();
        isTarget = false;
        const auto isFed = [](const Group &group) { return group.isFed; };
        step.isFed = step.isFed || !step.inputs.isEmpty() || before == Separator::Pipe
                     || std::any_of(groups.begin(), groups.end(), isFed);
        step.isPiped = separator == Separator::Pipe;
        step.isBackground = separator == Separator::Background;
        step.isConditional = conditions > 0 || isChained || isGuarded;
        step.folder = folder;
        const bool isAnything = !step.words.isEmpty() || !step.outputs.isEmpty() || !step.inputs.isEmpty();
        if (isAnything && !takeIn())
            keep();
        const bool asks = isAnything && isQuestion();
        if (separator == Separator::And || separator == Separator::Or)
            isChained = isChained || asks;
        else if (isAnything)
            isChained = false;
        if (isAnything || separator != Separator::End)
            before = separator;
        step = Step();
    }

    /// A step that decides what comes behind it.
    bool isQuestion() const
    {
        static const QSet<QString> questions = {"test", "[",          "[[",    "grep",
                                                "cmp",  "mountpoint", "pidof", "pgrep"};
        return questions.contains(step.words.value(0));
    }

    void keep()
    {
        step.run = withoutWrappers(step.words);
        step.program = programOf(step.run);
        step.isTimed = hasTimeLimit(step.words);
        const QString inFolder = folderOfEnv(step.words);
        if (!inFolder.isEmpty())
            step.folder = entered(folder, inFolder);
        const QString first = step.words.value(0);
        if (isQuestion())
            script.asked += step.words.mid(1);
        if (first == "set")
            script.stopsAtUnset =
                script.stopsAtUnset
                || std::any_of(step.words.begin(), step.words.end(), [](const QString &one) {
                       return (one.startsWith('-') && one.contains('u')) || one == "nounset";
                   });
        if ((first == "exit" || first == "return") && step.isConditional)
            isGuarded = true;
        if (before == Separator::Or && (first == "true" || first == ":") && !script.steps.isEmpty())
            script.steps.last().isOptional = true;
        const QString called = step.run.value(0);
        if (called == "cd" || called == "pushd") {
            const bool isFunction = !groups.isEmpty() && groups.last().kind == '{';
            folder = isFunction ? unknownFolder : entered(folder, step.run.value(1));
        }
        script.steps.append(step);
        readInner();
    }

    /// The script of "sh -c SCRIPT", which belongs to this one.
    void readInner()
    {
        const QString inside = innerScript(step.run);
        if (inside.isEmpty() || depth >= deepestScript)
            return;
        ScriptContext inner;
        inner.variables = variables;
        inner.folder = folder;
        const Step outer = step;
        const int first = script.steps.size();
        const int outerLine = line;
        line = step.line;
        adopt(ScriptReader(inside, inner, depth + 1).read());
        line = outerLine;
        for (int at = first; at < script.steps.size(); ++at) {
            script.steps[at].line = outer.line;
            script.steps[at].isTimed |= outer.isTimed;
            script.steps[at].isBackground |= outer.isBackground;
        }
    }

    /// Assignments and loops, which are no programs.
    bool takeIn()
    {
        static const QSet<QString> declares = {"export", "readonly", "local", "declare", "typeset"};
        const QString first = step.words.value(0);
        const bool allAssign = std::all_of(step.words.begin(), step.words.end(), isAssignment);
        if (declares.contains(first) || (!step.words.isEmpty() && allAssign)) {
            for (const QString &one : qAsConst(step.words)) {
                if (isAssignment(one))
                    assign(one.section('=', 0, 0).remove('+'), one.section('=', 0, 0).endsWith('+')
                                                                   ? QStringList()
                                                                   : QStringList(one.section('=', 1)));
            }
            return allAssign;
        }
        if (first == "for" || first == "select") {
            assign(step.words.value(1), step.words.value(2) == "in" ? step.words.mid(3) : QStringList());
            groups.append(
                {'l', script.steps.size(), step.line, first, folder, before == Separator::Pipe, {}});
            return true;
        }
        if (first == "shift" || (first == "set" && step.words.contains("--")))
            takeArguments();
        if (first == "read") {
            for (const QString &name : step.words.mid(1))
                assign(name, {});
        }
        return false;
    }

    const QString &text;
    QHash<QString, QStringList> variables;
    QString folder;
    const int depth;
    int i = 0;
    int line = 1;
    QStringList word = QStringList(QString()); ///< its values; several where a loop's variable is in it
    bool inWord = false;
    bool isTarget = false; ///< the next word is where a redirection goes
    bool goesOut = false;
    bool expectsPattern = false; ///< of "case"
    bool isBody = false;         ///< what opens next is that of a function
    bool isChained = false;      ///< behind a question and "&&" or "||"
    bool isGuarded = false;      ///< behind an "exit" that depends on something
    int conditions = 0;          ///< how deep in "if" and "case"
    Separator before = Separator::End;
    QVector<Group> groups;
    QStringList hereDocuments;
    QSet<QString> assigned;
    Step step;
    ScriptText script;
};
// NOLINTEND(misc-no-recursion)

/// The number of words of a program that has another one started, with its options; 0 for any other.
int wrapperWords(const QStringList &words, int from)
{
    // With the options that have a value of their own, and whether a word without one comes before the
    // program.
    struct Wrapper {
        QString valueOptions;
        int operands;
    };
    static const QHash<QString, Wrapper> wrappers = {
        {"env", {"uCS", 0}},       {"nohup", {"", 0}},     {"setsid", {"", 0}},    {"nice", {"n", 0}},
        {"ionice", {"cnp", 0}},    {"timeout", {"ks", 1}}, {"stdbuf", {"ioe", 0}}, {"busybox", {"", 0}},
        {"sudo", {"ugCpD", 0}},    {"command", {"", 0}},   {"exec", {"a", 0}},     {"chrt", {"", 1}},
        {"time", {"of", 0}},       {"unshare", {"", 0}},   {"taskset", {"", 1}},   {"flock", {"wE", 1}},
        {"xargs", {"nIdPLsE", 0}}, {"toybox", {"", 0}},    {"builtin", {"", 0}}};
    const QString &word = words.at(from);
    const auto wrapper = wrappers.constFind(word.mid(word.lastIndexOf('/') + 1));
    if (wrapper == wrappers.constEnd())
        return 0;
    int at = from + 1;
    while (at < words.size() && words.at(at).startsWith('-') && words.at(at).size() > 1) {
        const QString &option = words.at(at++);
        if (option.size() == 2 && wrapper->valueOptions.contains(option.at(1)))
            ++at;
    }
    return qMin(at + wrapper->operands, words.size()) - from;
}

} // namespace

QString Step::path(const QString &word) const
{
    if (word.startsWith('/'))
        return word;
    return folder.startsWith('/') ? QDir::cleanPath(folder + '/' + word) : QString();
}

QString programOf(const QStringList &words)
{
    const QString first = words.value(0);
    const int from = first.lastIndexOf('/') + 1;
    const int dot = first.indexOf('.', from + 1);
    return first.mid(from, dot < 0 ? -1 : dot - from);
}

Step stepOf(const QStringList &words)
{
    Step step;
    step.words = words;
    step.run = withoutWrappers(words);
    step.program = programOf(step.run);
    step.isTimed = step.run.size() != words.size() && hasTimeLimit(words);
    const QString folder = folderOfEnv(words);
    if (!folder.isEmpty())
        step.folder = entered(folderOfTool, folder);
    return step;
}

QString innerScript(const QStringList &words)
{
    static const QRegularExpression option("^-\\w*c$");
    const bool isShell = words.value(0) == QLatin1String("su") || shellWords(words) > 0;
    const int at = isShell ? words.indexOf(option) : -1;
    return at < 0 ? QString() : words.value(at + 1);
}

ScriptText readScript(const QString &script, const ScriptContext &context)
{
    return ScriptReader(script, context, 0).read();
}

bool hasShellVariable(const QString &word)
{
    return word.contains('$') || word.contains('`');
}

bool isAssignment(const QString &word)
{
    static const QRegularExpression assignment("^[A-Za-z_]\\w*(\\[\\w+\\])?\\+?=");
    return word.contains('=') && assignment.match(word).hasMatch();
}

QStringList withoutWrappers(const QStringList &words)
{
    int at = 0;
    while (at < words.size()) {
        const int wrapper = isAssignment(words.at(at)) ? 1 : wrapperWords(words, at);
        if (wrapper == 0)
            break;
        at += wrapper;
    }
    return at == 0 ? words : QStringList(words.mid(at));
}

int interpreterWords(const QStringList &words)
{
    static const QRegularExpression others("^(?:\\S*/)?(?:python[0-9.]*|perl|lua|node|ruby|tclsh)$");
    return others.match(words.value(0)).hasMatch() ? 1 : shellWords(words);
}

int scriptWord(const QStringList &words)
{
    int at = interpreterWords(words);
    if (at == 0)
        return -1;
    for (; at < words.size() && words.at(at).startsWith('-'); ++at) {
        const QString &option = words.at(at);
        const bool isLong = option.startsWith("--");
        if (!isLong && (option.contains('c') || option.endsWith('m') || option.endsWith('s')))
            return -1; // it has the script in place, or none of its own
        if (option == "-o" || option == "-O" || option == "-W" || option == "-X")
            ++at;
    }
    return at < words.size() ? at : -1;
}
