// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "usage.h"

#include <algorithm>

namespace
{

CommandOption strict(const QString &help)
{
    return {{"strict"}, "", help};
}

CommandOption mountedAt()
{
    return {{"mounted-at"}, "DIR", "where the controller mounts the medium"};
}

CommandOption output(const QString &value, const QString &help)
{
    return {{"o", "output"}, value, help, true};
}

CommandOption compatible()
{
    return {{"compatible"}, "NAME", "the controllers that it is for"};
}

QVector<Command> all()
{
    return {
        {"check",
         "MEDIUM",
         true,
         "print what the controller shows and runs, then what is wrong with it",
         "MEDIUM is its folder, or a system.ini; - is one on the standard input.",
         {strict("warnings count: exit code 1"),
          {{"format"}, "FORMAT", "text, json, sarif or github", false, {"text", "json", "sarif", "github"}},
          {{"json"}, "", "the same as --format json"},
          {{"watch"}, "", "check again whenever something changes"},
          mountedAt()}},
        {"fix",
         "MEDIUM",
         false,
         "print a patch of all that can be put right without asking you",
         "What only you can decide is left as it is, and told.",
         {strict("warnings that are left count: exit code 1"),
          {{"write"}, "", "put it right; the old file stays beside it, as .old"},
          mountedAt()}},
        {"explain", "ID", true, "print the manual's paragraph on a finding", "", {}},
        {"rules",
         "",
         false,
         "print the ids of all findings",
         "Each with its severity, whether fix puts it right, asks or does either, and\nwhat it is about.",
         {{{"format"}, "FORMAT", "text or json", false, {"text", "json"}},
          {{"json"}, "", "the same as --format json"}}},
        {"preview",
         "MEDIUM",
         false,
         "draw every screen that the operator sees, as pictures",
         "",
         {output("DIR", "the folder for the pictures"),
          {{"language"}, "LANG", "a code such as zh_CN, a translation file, or \"all\""},
          mountedAt()}},
        {"new",
         "DIR",
         false,
         "make a small, commented medium to start from",
         "Nothing that is there is overwritten.",
         {{{"kit"}, "", "whose commands are guarded steps that report what came of them"}}},
        {"image",
         "MEDIUM",
         false,
         "make the image of a card, which any imager writes",
         "It has one FAT32 partition, and is read back and compared.",
         {output("FILE", "the image"),
          {{"size"}, "SIZE", "48M is 48 MiB, 4GB a card's; without it, the smallest"}}},
        {"sign",
         "MEDIUM",
         false,
         "check strictly, then sign for controllers that ask for it",
         "",
         {{{"key"}, "FILE", "the secret key; needed, but with --manifest-only"},
          {{"passphrase-file"}, "FILE", "what the key is encrypted with, in the first line"},
          {{"manifest-only"}, "", "leave the signature to another program"},
          compatible(),
          {{"serial"}, "N", "the medium's number"}}},
        {"verify",
         "MEDIUM",
         false,
         "say what a controller's gate says of a medium",
         "",
         {{{"key"}, "FILE", "a public one, or a folder of them; can be repeated", true},
          compatible(),
          {{"serial"}, "N", "the lowest number that is accepted"}}},
        {"results",
         "DIR",
         true,
         "put together what steps have reported: which controller got what",
         "Reads every file *.jsonl below DIR, a file, or - for the standard input.",
         {{{"format"}, "FORMAT", "table, csv or json", false, {"table", "csv", "json"}},
          {{"expect"}, "FILE", "the serials of the controllers that should have reported"},
          strict("what is not done counts: exit code 1")}},
    };
}

QString dashed(const CommandOption &option)
{
    QStringList names;
    for (const QString &name : option.names)
        names.append((name.size() == 1 ? "-" : "--") + name);
    return names.join(", ") + (option.value.isEmpty() ? "" : ' ' + option.value);
}

QByteArray usageOf(const Command &command)
{
    QString usage = "Usage: zul_catalogue " + command.name;
    const auto rest = std::count_if(command.options.begin(), command.options.end(),
                                    [](const CommandOption &option) { return !option.isNeeded; });
    for (const CommandOption &option : command.options) {
        if (option.isNeeded)
            usage += " --" + option.name() + ' ' + option.value;
    }
    usage += rest > 0 ? " [OPTION...]" : "";
    usage += command.argument.isEmpty() ? "" : ' ' + command.argument + (command.takesSeveral ? "..." : "");
    return usage.toUtf8() + '\n';
}

} // namespace

const CommandOption *Command::option(const QString &optionName) const
{
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const CommandOption &option) { return option.name() == optionName; });
    return found == options.end() ? nullptr : &*found;
}

const QVector<Command> &commands()
{
    static const QVector<Command> table = all();
    return table;
}

const Command *commandOf(const QString &name)
{
    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&](const Command &command) { return command.name == name; });
    return found == commands().end() ? nullptr : &*found;
}

QByteArray generalHelp()
{
    QByteArray help = "Usage: zul_catalogue COMMAND [OPTION...] ARGUMENT...\n\n";
    for (const Command &command : commands())
        help += "  " + command.name.toUtf8().leftJustified(9) + command.summary.toUtf8() + '\n';
    return help + R"(
  -h, --help       of a command: what it takes
  -v, --version

Exit codes: 0 clean, 1 warnings with --strict, 2 errors or refused, 64 usage,
65 data, 66 input, 69 a program is missing, 70 start, 73 cannot be written.
The manual: man zul_catalogue
)";
}

QByteArray helpOf(const Command &command)
{
    QByteArray help = usageOf(command) + '\n' + command.summary.left(1).toUpper().toUtf8()
                      + command.summary.mid(1).toUtf8() + ".\n";
    if (!command.more.isEmpty())
        help += command.more.toUtf8() + '\n';
    int width = 0;
    for (const CommandOption &option : command.options)
        width = qMax(width, dashed(option).size());
    if (!command.options.isEmpty())
        help += '\n';
    for (const CommandOption &option : command.options)
        help += "  " + dashed(option).leftJustified(width + 2).toUtf8() + option.help.toUtf8() + '\n';
    return help;
}
