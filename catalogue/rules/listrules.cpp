// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the lists, the keys and ENDGAME: what the operator is offered.

#include "reading/initext.h"
#include "reading/likeness.h"
#include "reading/lookalikes.h"
#include "rules/rules.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

const QStringList systemKeys = {"CMD_List", "CMD_Type", "ENDGAME"};

/// "" when `name` is one of `names`, otherwise the one that differs from it in capitals only.
QString rightCapitals(const QString &name, const QStringList &names)
{
    const auto same = [&name](const QString &other) { return other.compare(name, Qt::CaseInsensitive) == 0; };
    const auto found = std::find_if(names.begin(), names.end(), same);
    return names.contains(name) || found == names.end() ? QString() : *found;
}

/// Lines of [CMD] that no item names, by what is seen of their keys.
QHash<QString, const IniEntry *> unlistedBySight(const Subject &subject)
{
    QHash<QString, const IniEntry *> unlisted;
    const bool isAnyMissed = std::any_of(subject.items.begin(), subject.items.end(), [](const Item &item) {
        return !item.entry && !item.text.isEmpty();
    });
    if (!isAnyMissed)
        return unlisted;
    QSet<QString> listed;
    for (const Item &item : subject.items)
        listed.insert(item.text);
    for (const IniEntry &entry : subject.file.entries()) {
        if (entry.section == "CMD" && !listed.contains(entry.key))
            unlisted.insert(drawn(textOf(entry.key.toLatin1())), &entry);
    }
    return unlisted;
}

/// The line that an item names for the eye, but not for the tool; null without one.
const IniEntry *drawnLikeItem(const Item &item, const QHash<QString, const IniEntry *> &unlisted)
{
    if (item.entry || item.text.trimmed().isEmpty() || unlisted.isEmpty())
        return nullptr;
    const IniEntry *entry = unlisted.value(drawn(textOf(item.text.toLatin1())));
    // What is not drawn at all is told as that.
    const QString both = entry ? textOf(entry->key.toLatin1()) + textOf(item.text.toLatin1()) : QString();
    const auto isUnseen = [](QChar character) {
        return character.category() == QChar::Other_Format
               || (character.unicode() >= 0x80 && character.isSpace());
    };
    if (std::any_of(both.begin(), both.end(), isUnseen))
        return nullptr;
    const bool isOther = entry && entry->key.compare(item.text.trimmed(), Qt::CaseInsensitive) != 0;
    return isOther ? entry : nullptr;
}

bool isAsciiText(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < 0x80; });
}

/// Where in these bytes the first character is that no plain keyboard has; where they begin without one.
int strangeAt(const Subject &subject, int begin, int end)
{
    const QByteArray &bytes = subject.file.bytes();
    const auto isStrange = [](char byte) {
        const uchar value = static_cast<uchar>(byte);
        return value >= 0x7f || (value < ' ' && !QByteArray("\t\r\n").contains(byte));
    };
    const auto found = std::find_if(bytes.begin() + begin, bytes.begin() + end, isStrange);
    return found == bytes.begin() + end ? begin : static_cast<int>(found - bytes.begin());
}

/// The same character's name, behind a message; empty without one.
QString strange(const Subject &subject, int begin, int end)
{
    const int at = strangeAt(subject, begin, end);
    const QString text = textOf(subject.file.bytes().mid(at, end - at));
    const bool isPlain =
        !text.isEmpty() && text.at(0) < QChar(0x7f) && (text.at(0) >= ' ' || text.at(0).isSpace());
    return !text.isEmpty() && !isPlain ? "; here is " + named(text.at(0)) : QString();
}

void lookalikeKey(const Subject &subject, Collector &findings)
{
    const QString message = "This looks like \"%1\" and is not: the tool does not find it";
    for (const IniLine &head : subject.file.sections()) {
        const QString right = subject.meantSection(head.section);
        if (!right.isEmpty())
            findings.replace(head.begin, head.end, strangeAt(subject, head.begin, head.end),
                             message.arg('[' + right + ']') + strange(subject, head.begin, head.end),
                             '[' + right + ']');
    }
    for (const IniEntry &entry : subject.file.entries()) {
        const QString right = entry.section == "system" ? subject.meantSystemKey(entry.key) : QString();
        if (!right.isEmpty())
            findings.mend({{entry.begin, entry.keyEnd, right.toUtf8()}},
                          strangeAt(subject, entry.begin, entry.keyEnd),
                          message.arg(right) + strange(subject, entry.begin, entry.keyEnd));
    }
    const auto unlisted = unlistedBySight(subject);
    for (const Item &item : subject.items) {
        const IniEntry *entry = drawnLikeItem(item, unlisted);
        if (!entry)
            continue;
        if (!isAsciiText(item.text))
            findings.askAuthor();
        findings.mend({{entry->begin, entry->keyEnd, writtenKey(item.text).toUtf8()}},
                      strangeAt(subject, entry->begin, entry->keyEnd),
                      QString("This key looks like the item \"%1\" of the list and is another one")
                              .arg(textOf(item.text.toLatin1()))
                          + strange(subject, entry->begin, entry->keyEnd));
    }
}

/// Items that the list names without there being such a line, and the lines that were probably meant.
QHash<QString, const IniEntry *> nearMisses(const Subject &subject)
{
    QHash<QString, const IniEntry *> unused; // by name in small letters, and by the key as written
    QSet<QString> listed;
    for (const Item &item : subject.items)
        listed.insert(item.text);
    for (const IniEntry &entry : subject.file.entries()) {
        const bool used = entry.section == "CMD" && listed.contains(entry.key);
        if (used || entry.section.compare("CMD", Qt::CaseInsensitive) != 0)
            continue;
        unused.insert(entry.key.toLower(), &entry);
        if (subject.rawKey(entry).contains('%'))
            unused.insert(subject.rawKey(entry), &entry);
    }
    QHash<QString, const IniEntry *> misses;
    for (const Item &item : subject.items) {
        const IniEntry *near = unused.value(item.text, unused.value(item.text.trimmed().toLower()));
        if (!item.entry && near)
            misses.insert(item.text, near);
    }
    return misses;
}

QString lineNumber(const Subject &subject, const IniEntry &entry)
{
    return QString::number(subject.file.position(entry.begin).line);
}

bool isBlankAround(const Item &item)
{
    return item.text != item.text.trimmed() && !item.entry;
}

/// A comma separates the items, and the blanks around one are left out where a list is put right.
bool canBeListed(const QString &key)
{
    return !key.isEmpty() && !key.contains(',') && key == key.trimmed();
}

void noList(const Subject &subject, Collector &findings)
{
    for (const IniLine &stray : subject.asWritten().strayLines()) {
        if (subject.meantLine(stray).startsWith("CMD_"))
            return; // told as that
    }
    QStringList keys;
    for (const IniEntry &entry : subject.file.entries()) {
        const QString path = entry.path();
        const bool nearly =
            path.compare("system/CMD_List", Qt::CaseInsensitive) == 0
            || path.compare("system/CMD_Type", Qt::CaseInsensitive) == 0 || path == "CMD_List"
            || path == "CMD_Type" // before the sections
            || subject.meantSection(entry.section) == "system"
            || (entry.section == "system" && subject.meantSystemKey(entry.key).startsWith("CMD"));
        if (nearly || subject.isOfSystem(entry))
            return;
        if (entry.section == "CMD" && canBeListed(entry.key) && !keys.contains(entry.key))
            keys.append(entry.key);
    }
    findings.add(0, "Section [system] has neither CMD_List nor CMD_Type, so the tool offers and runs nothing",
                 subject.listLine(keys.isEmpty() ? QStringList("KEY") : keys));
}

void bothLists(const Subject &subject, Collector &findings)
{
    const IniEntry *direct = subject.entry("system/CMD_Type");
    if (direct && subject.entry("system/CMD_List"))
        findings.commentOut(*direct, "CMD_Type is not looked at, because there is a CMD_List");
}

void blankAfterComma(const Subject &subject, Collector &findings)
{
    if (!subject.list)
        return;
    const QString right = subject.listLine(subject.meantItems());
    for (const Item &item : subject.items) {
        if (isBlankAround(item) && !item.text.trimmed().isEmpty())
            findings.replace(
                *subject.list, item.offset,
                QString("The blank is part of the item: the tool looks for the key \"%1\"").arg(item.text),
                right);
    }
}

void emptyItem(const Subject &subject, Collector &findings)
{
    if (!subject.list)
        return;
    QStringList texts = subject.meantItems();
    const bool isEmpty = texts.isEmpty();
    for (const IniEntry &entry : subject.file.entries()) {
        if (isEmpty && entry.section == "CMD" && canBeListed(entry.key) && !texts.contains(entry.key))
            texts.append(entry.key);
    }
    const QString right = subject.listLine(texts);
    for (const Item &item : subject.items) {
        if (!item.text.trimmed().isEmpty() || item.entry)
            continue;
        const QString message = "An empty item, which the tool leaves out";
        if (texts.isEmpty()) {
            findings.advise(item.offset, message,
                            "keys of [CMD], separated by commas; it has none that can be");
            continue;
        }
        if (isEmpty)
            findings.askAuthor();
        findings.replace(*subject.list, item.offset, message, right);
    }
}

void itemWithoutCommand(const Subject &subject, Collector &findings)
{
    const auto misses = nearMisses(subject);
    const auto unlisted = unlistedBySight(subject);
    QSet<QString> elsewhere; // in a section that looks like the one that is meant
    for (const IniEntry &entry : subject.file.entries()) {
        if (subject.meantSection(entry.section) == "CMD" || subject.isOfCommands(entry))
            elsewhere.insert(entry.key);
    }
    for (const IniLine &stray : subject.asWritten().strayLines())
        elsewhere.insert(subject.meantLine(stray).section('=', 0, 0));
    for (const Item &item : subject.items) {
        if (drawnLikeItem(item, unlisted) || elsewhere.contains(item.text))
            continue; // told as that
        const QString right = iniLine(writtenKey(item.text), item.text + "@COMMAND");
        if (item.entry && item.entry->value.text.isEmpty() && item.entry->value.comma < 0)
            findings.replace(*item.entry, item.entry->begin, "This line is empty, so the tool leaves it out",
                             right);
        else if (!item.entry && !misses.contains(item.text)
                 && (subject.partsOf(item).size() > 1
                     || (!isBlankAround(item) && !subject.partsOf(item).isEmpty())))
            findings.replace(*subject.list, item.offset,
                             QString("Section [CMD] has no \"%1\": only a comma separates items")
                                 .arg(textOf(item.text.toLatin1())),
                             subject.listLine(subject.meantItems()));
        else if (!item.entry && !item.text.trimmed().isEmpty() && !isBlankAround(item)
                 && !misses.contains(item.text))
            findings.add(
                item.offset,
                QString("Section [CMD] has no \"%1\", so the tool leaves this item out").arg(item.text),
                right);
    }
}

void duplicateKey(const Subject &subject, Collector &findings)
{
    for (const IniEntry &entry : subject.file.entries()) {
        const IniEntry *last = subject.entry(entry.path());
        if (last != &entry)
            findings.commentOut(entry, QString("\"%1\" is defined again on line %2, and that one counts")
                                           .arg(subject.rawKey(entry), lineNumber(subject, *last)));
    }
}

void unlistedKey(const Subject &subject, Collector &findings)
{
    if (!subject.list)
        return;
    const auto misses = nearMisses(subject);
    QSet<QString> known;
    for (const Item &item : subject.items)
        known << item.text << item.text.trimmed();
    for (const IniEntry *entry : subject.listed)
        known.insert(entry->key); // what is meant to be listed is told where the list is
    for (auto miss = misses.begin(); miss != misses.end(); ++miss)
        known.insert(miss.value()->key);
    const auto bySight = unlistedBySight(subject);
    for (const Item &item : subject.items) {
        if (const IniEntry *entry = drawnLikeItem(item, bySight))
            known.insert(entry->key);
    }
    QVector<const IniEntry *> unlisted;
    QStringList all = subject.meantItems();
    for (const QString &item : qAsConst(all))
        known.insert(item);
    for (const IniEntry &entry : subject.file.entries()) {
        if (entry.section != "CMD" || entry.key.startsWith('#') || known.contains(entry.key)
            || subject.isOfSystem(entry))
            continue;
        known.insert(entry.key);
        unlisted.append(&entry);
        if (canBeListed(entry.key))
            all.append(entry.key);
    }
    const QString right = unlisted.isEmpty() ? QString() : subject.listLine(all);
    const IniEntry &list = *subject.list;
    for (const IniEntry *entry : qAsConst(unlisted)) {
        const QString message =
            QString("The list does not name \"%1\", so nobody is offered it").arg(entry->key);
        if (canBeListed(entry->key))
            findings.replace(list.begin, list.end, entry->begin, message, right);
        else
            findings.commentOut(*entry, message);
    }
}

void capitalsOfSections(const Subject &subject, Collector &findings)
{
    for (const IniLine &head : subject.file.sections()) {
        const QString right = rightCapitals(head.section, {"system", "CMD"});
        if (!right.isEmpty())
            findings.replace(head.begin, head.end, head.begin,
                             QString("Capitals count: the tool looks for section [%1]").arg(right),
                             '[' + right + ']');
    }
}

void wrongCapitals(const Subject &subject, Collector &findings)
{
    capitalsOfSections(subject, findings);
    for (const IniEntry &entry : subject.file.entries()) {
        const QString right = rightCapitals(entry.key, systemKeys);
        if (entry.section.compare("system", Qt::CaseInsensitive) == 0 && !right.isEmpty())
            findings.replace(entry, entry.begin, QString("Capitals count: the tool looks for %1").arg(right),
                             iniLine(right, subject.meantText(entry)));
    }
    const auto misses = nearMisses(subject);
    for (auto miss = misses.begin(); miss != misses.end(); ++miss) {
        const IniEntry &entry = *miss.value();
        const bool capitalsOnly = entry.section == "CMD" && entry.key != miss.key()
                                  && entry.key.compare(miss.key().trimmed(), Qt::CaseInsensitive) == 0
                                  && entry.key != miss.key().trimmed();
        if (capitalsOnly)
            findings.replace(entry, entry.begin,
                             QString("Capitals count: the list names \"%1\"").arg(miss.key().trimmed()),
                             iniLine(writtenKey(miss.key().trimmed()), subject.meantText(entry)));
    }
}

void percentInKey(const Subject &subject, Collector &findings)
{
    const auto misses = nearMisses(subject);
    for (auto miss = misses.begin(); miss != misses.end(); ++miss) {
        const IniEntry &entry = *miss.value();
        const QString key = subject.rawKey(entry);
        if (key != miss.key() || entry.key == key)
            continue;
        findings.replace(
            entry, entry.begin,
            QString("The reader turns this key into \"%1\", which the list does not name").arg(entry.key),
            iniLine(writtenKey(key), subject.meantText(entry)));
    }
}

int blankInKey(const Subject &subject, const IniEntry &entry)
{
    const int blank = subject.file.bytes().indexOf(' ', entry.begin);
    const bool isInKey =
        entry.section == "CMD" && blank >= 0 && blank < entry.keyEnd && !isKeyOfLines(subject.file, entry);
    return isInKey && !entry.key.startsWith('#') ? blank : -1;
}

/// All keys with blanks and the list at once, as the list is one line. Empty where two keys would become one,
/// and where a list that names one has to be put right first.
QVector<Edit> withoutBlanksInKeys(const Subject &subject)
{
    QVector<Edit> edits;
    QSet<QString> keys;
    QHash<QString, QString> renamed;
    QSet<const IniEntry *> misread;
    for (const IniEntry *entry : subject.listed)
        misread.insert(entry);
    if (subject.list && subject.meant(*subject.list).isSure) {
        for (const Item &item : subject.items)
            misread.remove(item.entry);
    }
    for (const IniEntry &entry : subject.file.entries())
        keys.insert(entry.path());
    for (const IniEntry &entry : subject.file.entries()) {
        if (blankInKey(subject, entry) < 0)
            continue;
        const QString right = QString(entry.key).replace(' ', '_');
        const bool isTaken = !renamed.contains(entry.key) && keys.contains("CMD/" + right);
        if (isTaken || misread.contains(&entry))
            return {};
        keys.insert("CMD/" + right);
        renamed.insert(entry.key, right);
        QByteArray raw = subject.file.bytes().mid(entry.begin, entry.keyEnd - entry.begin);
        edits.append({entry.begin, entry.keyEnd, raw.replace(' ', '_').replace("%20", "_")});
    }
    if (!subject.list || renamed.isEmpty())
        return edits;
    QStringList texts;
    for (const Item &item : subject.items)
        texts.append(item.entry ? renamed.value(item.text, item.text) : item.text);
    if (texts != subject.itemTexts())
        edits.append({subject.list->begin, subject.textEnd(*subject.list), subject.listLine(texts).toUtf8()});
    std::sort(edits.begin(), edits.end(), [](const Edit &a, const Edit &b) { return a.begin < b.begin; });
    return edits;
}

void spaceInKey(const Subject &subject, Collector &findings)
{
    const QVector<Edit> edits = withoutBlanksInKeys(subject);
    for (const IniEntry &entry : subject.file.entries()) {
        const int blank = blankInKey(subject, entry);
        if (blank < 0)
            continue;
        const QString message =
            "A blank in a key: other programs that save the file write it as %20; use another letter";
        if (edits.isEmpty())
            findings.askAuthor().replace(entry.begin, entry.keyEnd, blank, message,
                                         subject.rawKey(entry).replace(' ', '-').replace("%20", "-"));
        else
            findings.mend(edits, blank, message);
    }
}

bool isBeforeSections(const Subject &subject, const IniEntry &entry)
{
    return subject.file.sections().isEmpty() || entry.begin < subject.file.sections().first().begin;
}

void unknownKey(const Subject &subject, Collector &findings)
{
    for (const IniEntry &entry : subject.file.entries()) {
        const bool isBefore =
            entry.section.isEmpty() && (systemKeys.contains(entry.key) || entry.value.text.contains('@'));
        if (isBefore && isBeforeSections(subject, entry))
            continue; // told as that
        const bool nearlySystem = entry.section.compare("system", Qt::CaseInsensitive) == 0;
        const bool nearlyCommand =
            entry.section.compare("CMD", Qt::CaseInsensitive) == 0 || entry.path().startsWith("CMD/");
        const bool known =
            nearlySystem
            && (systemKeys.contains(entry.key) || !rightCapitals(entry.key, systemKeys).isEmpty());
        const bool isDrawnSo = !subject.meantSection(entry.section).isEmpty() || subject.isOfCommands(entry)
                               || (entry.section == "system" && !subject.meantSystemKey(entry.key).isEmpty());
        if (!known && !isDrawnSo && !nearlyCommand && !entry.key.startsWith('#'))
            findings.commentOut(
                entry, QString("The tool does not know \"%1\" and never reads it").arg(entry.path()));
    }
}

void endgameValue(const Subject &subject, Collector &findings)
{
    const IniEntry *entry = subject.entry("system/ENDGAME");
    if (!entry || subject.verdict.mode != Verdict::Selection)
        return;
    const QString text = entry->value.text.toLower();
    const QStringList clear = {"true", "1", "false", "0"};
    if (entry->value.comma < 0 && clear.contains(text))
        return;
    static const QRegularExpression around("^[\\s\"'`.;:!]+|[\\s\"'`.;:!]+$");
    const QString word = plain(textOf(entry->value.text.toLatin1())).toLower().remove(around);
    const bool meantFalse =
        QStringList{"no", "off", "n", "never", "f", "-1", "none", "false", "0"}.contains(word)
        || text.isEmpty();
    const bool meantTrue = QStringList{"yes", "on", "y", "always", "t", "true", "1"}.contains(word);
    constexpr int longest = 10;
    const bool isNearlyFalse =
        drawn(word) == "false"
        || (word.size() > 2 && word.size() <= longest && changesBetween(word, "false") <= 2);
    if (entry->value.comma >= 0 || (!meantFalse && !meantTrue))
        findings.askAuthor();
    findings.replace(
        *entry, strangeAt(subject, entry->value.at.value(0, entry->valueBegin), entry->end),
        QString("The tool takes this value for %1; it knows true and false only")
                .arg(subject.verdict.endGame ? "true" : "false")
            + strange(subject, entry->valueBegin, entry->end),
        iniLine(subject.rawKey(*entry), meantFalse || (!meantTrue && isNearlyFalse) ? "false" : "true"));
}

void endgameUnused(const Subject &subject, Collector &findings)
{
    const IniEntry *entry = subject.entry("system/ENDGAME");
    if (entry && subject.verdict.mode == Verdict::Direct)
        findings.commentOut(*entry,
                            "ENDGAME is not looked at in direct mode: write the closing commands yourself");
}

void duplicateName(const Subject &subject, Collector &findings)
{
    if (subject.verdict.mode != Verdict::Selection)
        return;
    const QStringList unique = subject.meantItems();
    const QString rightList = unique.size() < subject.items.size() ? subject.listLine(unique) : QString();
    QSet<QString> items;
    for (const Item &item : subject.items) {
        if (item.entry && items.contains(item.text))
            findings.replace(
                *subject.list, item.offset,
                QString("The list names \"%1\" twice: it shows twice and can be chosen once").arg(item.text),
                rightList);
        items.insert(item.text);
    }
    QHash<QString, const CommandEntry *> names;
    for (const CommandEntry &command : subject.commands) {
        const CommandEntry *first = names.value(command.name);
        if (first)
            findings.askAuthor().replace(
                *command.entry, command.entry->value.at.value(0),
                QString("\"%1\" is the name of line %2 too: both show, and both run this command")
                    .arg(command.name, lineNumber(subject, *first->entry)),
                subject.line(*command.entry,
                             QString("%1 (%2)@%3")
                                 .arg(command.name, subject.nameFor(*command.entry), command.command)));
        else
            names.insert(command.name, &command);
    }
}

void needsScrolling(const Subject &subject, Collector &findings)
{
    const int rows = subject.screen.listRows();
    if (subject.list && subject.verdict.mode == Verdict::Selection
        && subject.verdict.operations.size() > rows)
        findings.replace(
            *subject.list, subject.list->begin,
            QString("%1 operations; %2 are seen at once, the operator has to scroll to the others")
                .arg(subject.verdict.operations.size())
                .arg(rows),
            subject.listLine(subject.meantItems().mid(0, rows)));
}

} // namespace

QVector<Rule> listRules()
{
    const char *const whereItEnds = "where its value ends"; // of one that an open quotation mark carries on
    return {
        {"lookalike-key", Severity::Error, lookalikeKey, AsksAuthor, "which spelling is meant"},
        {"no-list", Severity::Error, noList, AsksAuthor, "which operations are offered"},
        {"both-lists", Severity::Warning, bothLists, ChangesNothing, whereItEnds},
        {"blank-after-comma", Severity::Error, blankAfterComma, AddsOperations | DropsRepetitions, nullptr},
        {"empty-item", Severity::Warning, emptyItem, AddsOperations | DropsRepetitions,
         "which operations are offered"},
        {"item-without-command", Severity::Error, itemWithoutCommand, AsksAuthor, "what the item runs"},
        {"duplicate-key", Severity::Warning, duplicateKey, ChangesNothing, whereItEnds},
        {"unlisted-key", Severity::Warning, unlistedKey, AsksAuthor, "whether it is to be offered"},
        {"wrong-capitals", Severity::Error, wrongCapitals, AddsOperations | ChangesEnding, nullptr},
        {"percent-in-key", Severity::Error, percentInKey, AddsOperations, nullptr},
        {"space-in-key", Severity::Warning, spaceInKey, ChangesNothing, "what the key is to be called"},
        {"unknown-key", Severity::Warning, unknownKey, ChangesNothing, "which key was meant"},
        {"endgame-value", Severity::Warning, endgameValue, ChangesEnding, "whether the controller reboots"},
        {"endgame-unused", Severity::Warning, endgameUnused, ChangesNothing, whereItEnds},
        {"duplicate-name", Severity::Error, duplicateName, AddsOperations | DropsRepetitions,
         "what the other one is called"},
        {"needs-scrolling", Severity::Note, needsScrolling, AsksAuthor, "what can do without being offered"},
    };
}
