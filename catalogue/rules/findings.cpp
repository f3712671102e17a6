#include "rules/findings.h"

#include "rules/rules.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

constexpr int keptOfAKind = 50;

const char listKey[] = "system/CMD_List";
const char directKey[] = "system/CMD_Type";

} // namespace

bool isSpecialValue(const QString &text)
{
    static const QRegularExpression special(
        "^@(@|Invalid\\(\\)$|(ByteArray|String|Variant|DateTime|Rect|Size|Point)\\(.*\\)$)",
        QRegularExpression::DotMatchesEverythingOption);
    return special.match(text).hasMatch();
}

bool isShellScript(const QStringList &words)
{
    static const QStringList shells = {"sh", "ash", "bash", "dash"};
    return words.size() > 2 && shells.contains(words.at(0).section('/', -1)) && words.at(1).startsWith('-')
           && words.at(1).contains('c');
}

int Findings::count(Severity severity) const
{
    return static_cast<int>(std::count_if(list.begin(), list.end(), [severity](const Finding &finding) {
        return finding.severity == severity;
    }));
}

// --- What the rules look at -----------------------------------------------------------------------------

Subject::Subject(const Medium &itsMedium, const IniFile &itsFile, const Verdict &itsVerdict,
                 const Screen &itsScreen)
    : medium(itsMedium)
    , file(itsFile)
    , verdict(itsVerdict)
    , screen(itsScreen)
{
    for (const IniEntry &entry : file.entries())
        byPath.insert(entry.path(), &entry);
    list = byPath.contains(listKey) ? entry(listKey) : entry(directKey);
    if (list && (list->value.comma >= 0 || isSpecialValue(list->value.text)))
        list = nullptr;
    if (list)
        readItems();
    readCommands();
}

void Subject::readItems()
{
    int begin = 0;
    for (const QString &text : list->value.text.split(',')) {
        const int offset = begin < list->value.at.size() ? list->value.at.at(begin) : list->valueBegin;
        items.append({text, offset, text.isEmpty() ? nullptr : entry("CMD/" + text)});
        begin += text.size() + 1;
    }
}

void Subject::readCommands()
{
    QSet<const IniEntry *> seen;
    for (const Item &item : qAsConst(items)) {
        if (!item.entry || seen.contains(item.entry))
            continue;
        seen.insert(item.entry);
        const QString text = intendedText(file, item.entry->value).section(QChar(0), 0, 0);
        const bool isText = item.entry->value.comma < 0 && !isSpecialValue(text);
        if (text.isEmpty() || !isText || swallowsLines(file, *item.entry))
            continue;
        const QString command = text.section('@', 1, 1);
        const CommandLine split = splitCommandLine(command);
        commands.append({item.entry, text.section('@', 0, 0), command, text.count('@'), split,
                         isShellScript(split.words) ? QString() : split.bare});
    }
}

QVector<const IniEntry *> Subject::textEntries() const
{
    QVector<const IniEntry *> found;
    for (const IniEntry &entry : file.entries()) {
        const QString path = entry.path();
        if (path.startsWith("CMD/") || path == listKey || path == directKey)
            found.append(&entry);
    }
    return found;
}

QString Subject::rawKey(const IniEntry &entry) const
{
    return QString::fromUtf8(file.bytes().mid(entry.begin, entry.keyEnd - entry.begin));
}

QByteArray Subject::rawValue(const IniEntry &entry) const
{
    const int end = lineEnd(file.bytes(), entry.end);
    return file.bytes().mid(entry.valueBegin, end - entry.valueBegin).trimmed();
}

QString Subject::line(const IniEntry &entry, const QString &text) const
{
    return iniLine(rawKey(entry), text);
}

QString Subject::commandLine(const CommandEntry &command, const QString &text) const
{
    return line(*command.entry, command.name + '@' + text);
}

QString Subject::commented(const IniEntry &entry) const
{
    return "; " + QString::fromUtf8(file.bytes().mid(entry.begin, entry.end - entry.begin));
}

QString Subject::listLine(const QStringList &texts) const
{
    QStringList right;
    for (const QString &text : texts) {
        if (!text.trimmed().isEmpty())
            right.append(text.trimmed());
    }
    return iniLine(list ? rawKey(*list) : "CMD_List", right.join(','));
}

QStringList Subject::itemTexts() const
{
    QStringList texts;
    for (const Item &item : items)
        texts.append(item.text);
    return texts;
}

QString textOfRaw(const QByteArray &raw, bool keepQuotes)
{
    QByteArray quoted;
    for (int i = 0; i < raw.size(); ++i) {
        const char byte = raw.at(i);
        if (byte == '\\' && i + 1 < raw.size())
            quoted += raw.mid(i++, 2);
        else if (byte == '"')
            quoted += keepQuotes ? "\\\"" : "";
        else
            quoted += byte;
    }
    const IniFile reread("key=\"" + quoted + '"');
    return reread.entries().isEmpty() ? QString() : intendedText(reread, reread.entries().first().value);
}

QString writtenKey(const QString &key)
{
    QString written;
    for (const QChar character : key) {
        const ushort unit = character.unicode();
        if (character.isLetterOrNumber() ? unit < 0x80 : unit == '_' || unit == '-' || unit == '.')
            written += character;
        else if (unit < 0x100)
            written += QString("%%1").arg(unit, 2, 16, QLatin1Char('0'));
        else
            written += QString("%U%1").arg(unit, 4, 16, QLatin1Char('0'));
    }
    return written;
}

QString shellWord(const QString &path)
{
    static const QRegularExpression harmless("^[\\w./+-]+$");
    QString quoted = path;
    return harmless.match(path).hasMatch() ? path : '\'' + quoted.replace("'", "'\\''") + '\'';
}

QVector<int> bareQuotes(const IniFile &file, const IniEntry &entry)
{
    QVector<int> found;
    for (int i = entry.valueBegin; i < entry.end; ++i) {
        if (file.bytes().at(i) == '\\')
            ++i;
        else if (file.bytes().at(i) == '"')
            found.append(i);
    }
    return found;
}

bool swallowsLines(const IniFile &file, const IniEntry &entry)
{
    const bool onOneLine = lineEnd(file.bytes(), entry.valueBegin) >= entry.end;
    return entry.openQuote || (!onOneLine && !bareQuotes(file, entry).isEmpty());
}

int lineEnd(const QByteArray &bytes, int from)
{
    while (from < bytes.size() && bytes.at(from) != '\n' && bytes.at(from) != '\r')
        ++from;
    return from;
}

// --- Taking the findings --------------------------------------------------------------------------------

Report::Report(const Subject &itsSubject, Findings *itsFindings)
    : subject(itsSubject)
    , findings(itsFindings)
{
}

void Report::startRule(const char *ruleId, Severity ruleSeverity)
{
    id = ruleId;
    severity = ruleSeverity;
    kept = 0;
}

bool Report::hasRoom() const
{
    return kept < keptOfAKind;
}

void Report::keep(const Finding &finding)
{
    if (hasRoom())
        findings->list.append(finding);
    else
        ++findings->omitted[id];
    ++kept;
}

void Report::add(int offset, const QString &message, const QString &right)
{
    replace(-1, -1, offset, message, right);
}

void Report::replace(const IniEntry &entry, int offset, const QString &message, const QString &right)
{
    const int end = entry.semicolon < 0 ? entry.end : lineEnd(subject.file.bytes(), entry.end);
    replace(entry.begin, end, offset, message, right);
}

void Report::replace(int begin, int end, int offset, const QString &message, const QString &right)
{
    keep({id, severity, subject.medium.catalogue, subject.file.position(offset), message, right, begin, end});
}

void Report::addOther(const QString &path, const QString &message, const QString &right)
{
    keep({id, severity, path, {1, 1}, message, right});
}

// --- All of them ----------------------------------------------------------------------------------------

namespace
{

QVector<Rule> allRules()
{
    return fileRules() + listRules() + commandRules() + mediumRules();
}

} // namespace

QStringList findingIds()
{
    QStringList ids;
    for (const Rule &rule : allRules())
        ids.append(rule.id);
    return ids;
}

Findings findAll(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen)
{
    Findings findings;
    const Subject subject(medium, file, verdict, screen);
    Report report(subject, &findings);
    for (const Rule &rule : allRules()) {
        report.startRule(rule.id, rule.severity);
        rule.find(subject, report);
    }
    const auto place = [&medium](const Finding &finding) {
        return std::make_tuple(finding.file != medium.catalogue, finding.file, finding.at.line,
                               finding.at.column);
    };
    std::stable_sort(findings.list.begin(), findings.list.end(),
                     [&place](const Finding &a, const Finding &b) { return place(a) < place(b); });
    return findings;
}
