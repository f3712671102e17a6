// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "generator.h"

#include <QList>

namespace
{

// Separated by blanks; the escapes are written out by unescaped().
const char hostilePieces[] =
    R"(\x20 \x09 , ; @ = " "" """ ' \\ \\n \\t \\" \\\\ \\x4e2d \\xe4 \\x41b \\x \\0 \\101 \\q % %20 %U4e2d / | > $A * ~ )"
    R"(sh .sh bash ts_calibrate TSTAPP /mnt/upgrade/x reboot sync # [ ] ( ) @@ @Invalid() @ByteArray(a) @String(b) )"
    R"(\xc3\xa4 \xe4\xb8\xad \xf0\x9f\x98\x80 \xe4 \xff \x01 \x1b \x7f \x00 \x0b \xa0 \xc2\xa0 a b name -f )"
    // What another keyboard has, what looks like something else, and what is not seen.
    R"(\xef\xbc\x8c \xef\xbc\xa0 \xef\xbc\x9d \xe2\x80\x9c \xe2\x80\x9d \xe2\x80\x99 \xe2\x80\x9a \xef\xbb\xbf \xe2\x80\x8b \xe3\x80\x80 \xd0\xb0 \xe3\x85\xa4)";

QByteArray unescaped(const QByteArray &piece)
{
    QByteArray bytes;
    for (int i = 0; i < piece.size(); ++i) {
        if (piece.at(i) != '\\') {
            bytes += piece.at(i);
        } else if (piece.at(i + 1) == '\\') {
            bytes += piece.at(++i);
        } else {
            bytes += static_cast<char>(piece.mid(i + 2, 2).toInt(nullptr, 16));
            i += 3;
        }
    }
    return bytes;
}

} // namespace

Generator::Generator(unsigned int seed)
    : random(seed)
{
}

int Generator::below(int limit)
{
    return static_cast<int>(random() % static_cast<unsigned int>(limit));
}

bool Generator::oneIn(int chances)
{
    return below(chances) == 0;
}

QByteArray Generator::oneOf(const QByteArray &choices)
{
    const QList<QByteArray> list = choices.split(' ');
    return unescaped(list.at(below(list.size())));
}

int Generator::size()
{
    return oneIn(300) ? 100 + below(900) : below(12);
}

QByteArray Generator::hostileText(int pieces)
{
    QByteArray text;
    for (int i = 0; i < pieces; ++i)
        text += oneOf(hostilePieces);
    return text;
}

QByteArray Generator::commandLine()
{
    QByteArray line = oneOf("cp sh /opt/run.sh killall ts_calibrate TSTAPP /mnt/upgrade/a.sh flash_erase");
    for (int i = below(5); i > 0; --i)
        line += oneOf("\\x20 \\x20\\x20 \\x09")
                + (oneIn(2) ? hostileText(1 + below(4)) : oneOf("-f /opt \"a\\x20b\" x"));
    return line;
}

QByteArray Generator::key(int number)
{
    if (oneIn(15))
        return oneOf("a A a%20b a\\x20b %41 \\xc3\\xa4 x/y x\\\\y 50% %U0041 \\x00");
    return 'k' + QByteArray::number(oneIn(20) ? below(number + 2) : number);
}

QByteArray Generator::value()
{
    QByteArray text = oneIn(4) ? hostileText(below(4)) : "Operation " + QByteArray::number(below(1000));
    if (!oneIn(12))
        text += '@';
    text += oneIn(3) ? hostileText(below(6)) : commandLine();
    return text;
}

/// The text in quotes with everything escaped, in quotes as it is, or bare.
QByteArray Generator::written(const QByteArray &text)
{
    if (oneIn(3))
        return text;
    if (oneIn(30))
        return oneIn(2) ? '\'' + text + '\'' : "\xe2\x80\x9c" + text + "\xe2\x80\x9d";
    QByteArray inside = text;
    if (!oneIn(4))
        inside.replace('\\', "\\\\").replace('"', "\\\"");
    return oneOf("\\x20\\x20 \\x20 x").replace('x', "") + '"' + inside + '"'
           + (oneIn(10) ? " ; comment" : "");
}

QByteArray Generator::list(int operations)
{
    QByteArray items;
    for (int i = 0; i < operations; ++i)
        items +=
            (i > 0 ? oneIn(30) ? oneOf(",, ,\\x20 ; \\x20, |") : QByteArray(",") : QByteArray()) + key(i);
    return oneIn(8) ? items : '"' + items + '"';
}

QByteArray Generator::systemSection(int operations, const QByteArray &end)
{
    QByteArray text =
        oneIn(25) ? oneOf("[System] [system [\\x20system\\x20] [general] [%General] \\xef\\xbc\\xbbsystem] "
                          "[sys] system")
                  : "[system]";
    text += end;
    if (!oneIn(4))
        text += "CMD_List" + oneOf("= \\x20=\\x20 =\\x09") + list(operations) + end;
    if (oneIn(3))
        text += "CMD_Type=" + list(operations) + end;
    if (oneIn(2))
        text += "ENDGAME=" + oneOf("true false 0 1 no off FALSE False\\x20 \"\" a,b @Invalid() \"false\" 2")
                + end;
    return text;
}

QByteArray Generator::commandSection(int operations, const QByteArray &end)
{
    QByteArray text =
        (oneIn(25) ? oneOf("[cmd] [CMD [C%4dD] [CMD]\\x20x=y \\xe3\\x80\\x90CMD\\xe3\\x80\\x91 CMD "
                           "\\xef\\xbb\\xbf[CMD] [CMDs]")
                   : "[CMD]")
        + end;
    for (int i = 0; i < operations; ++i) {
        if (!oneIn(30))
            text += key(i) + (oneIn(40) ? oneOf("\\xef\\xbc\\x9d :") : oneOf("= \\x20=\\x20 ="))
                    + written(value()) + end;
        if (oneIn(40))
            text += oneOf("#a=b ;\\x20comment nonsense [other] [CMD] =x \"") + end;
    }
    return text;
}

void Generator::damage(QByteArray *text)
{
    for (int i = 1 + below(4); i > 0 && !text->isEmpty(); --i) {
        const int at = below(text->size());
        if (oneIn(3))
            text->remove(at, 1 + below(5));
        else
            text->insert(at, hostileText(1));
    }
}

QByteArray Generator::bigCatalogue(int operations)
{
    QByteArray items;
    QByteArray commands;
    for (int i = 0; i < operations; ++i) {
        const QByteArray name = 'k' + QByteArray::number(i);
        items += (i > 0 ? "," : "") + name;
        QByteArray text = value();
        text.replace('\\', "\\\\").replace('"', "\\\"");
        commands += name + "=\"" + text + "\"\n";
    }
    return "[system]\n" + QByteArray(oneIn(2) ? "CMD_List" : "CMD_Type") + "=\"" + items + "\"\n[CMD]\n"
           + commands;
}

QByteArray Generator::catalogue(int operations)
{
    const QByteArray end = oneIn(6) ? oneOf("\\x0d\\x0a \\x0d \\x0a\\x0d \\x0a\\x0a") : QByteArray("\n");
    QByteArray text = oneIn(20) ? "\xef\xbb\xbf" : "";
    const QByteArray system = systemSection(operations, end);
    const QByteArray commands = commandSection(operations, end);
    text += oneIn(6) ? commands + system : system + commands;
    if (oneIn(6))
        damage(&text);
    return text;
}
