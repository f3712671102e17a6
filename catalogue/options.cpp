// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "options.h"

#include "usage.h"

#include <QCommandLineParser>

namespace
{

/// Every option of every command, once.
QVector<CommandOption> allOptions()
{
    QVector<CommandOption> options = {{{"h", "help"}, "", ""}, {{"v", "version"}, "", ""}};
    QStringList names;
    for (const Command &command : commands()) {
        for (const CommandOption &option : command.options) {
            if (!names.contains(option.name()))
                options.append(option);
            names.append(option.name());
        }
    }
    return options;
}

/// "a", "a and b", "a, b and c"
QString enumerated(QStringList words)
{
    const QString last = words.takeLast();
    return words.isEmpty() ? last : words.join(", ") + " and " + last;
}

QString foreignOption(const Command &command, const QString &name)
{
    if (command.option(name))
        return {};
    QStringList others;
    for (const Command &other : commands()) {
        if (other.option(name))
            others.append(other.name);
    }
    return "--" + name + " is for " + enumerated(others);
}

QString wrongArguments(const Command &command, const QStringList &arguments)
{
    const QString &argument = command.argument;
    if (argument.isEmpty())
        return arguments.isEmpty() ? QString() : command.name + " takes nothing";
    const bool isRight = command.takesSeveral ? !arguments.isEmpty() : arguments.size() == 1;
    if (isRight && !arguments.contains(""))
        return {};
    return command.name + " takes " + (command.takesSeveral ? "at least " : "") + "one " + argument;
}

QString wrongValue(const Command &command, const CommandOption &option, const QStringList &values)
{
    if (option.isNeeded && (values.isEmpty() || values.contains("")))
        return command.name + " needs " + (option.names.first().size() == 1 ? "-" : "--")
               + option.names.first() + ' ' + option.value;
    for (const QString &value : values) {
        if (!option.choices.isEmpty() && !option.choices.contains(value))
            return "unknown " + option.name() + ": " + value;
    }
    return {};
}

QString wrongSigning(const Options &options)
{
    const Signing &signing = options.signing;
    if (options.manifestOnly)
        return (signing.keys.join("") + signing.passphraseFile).isEmpty() ? QString()
                                                                          : "--manifest-only takes no key";
    if (signing.keys.isEmpty() || signing.keys.contains(""))
        return "sign needs --key FILE";
    return signing.keys.size() > 1 ? "sign takes one --key" : QString();
}

QString wrongUsage(const Options &options, const QCommandLineParser &parser)
{
    const QString name = options.words.value(0);
    if (name.isEmpty())
        return "a command is missing";
    const Command *command = commandOf(name);
    if (!command)
        return "unknown command: " + name;
    if (options.help)
        return {};
    QStringList wrong = {wrongArguments(*command, options.words.mid(1))};
    for (const CommandOption &option : allOptions()) {
        if (parser.isSet(option.name()))
            wrong.append(foreignOption(*command, option.name()));
    }
    for (const CommandOption &option : command->options)
        wrong.append(wrongValue(*command, option, parser.values(option.name())));
    if (parser.isSet("json") && parser.isSet("format") && parser.value("format") != "json")
        wrong.append("--json and --format ask for two formats");
    if (options.watch && options.words.contains("-"))
        wrong.append("what is read once cannot be watched");
    if (name == "sign")
        wrong.append(wrongSigning(options));
    wrong.removeAll({});
    return wrong.value(0);
}

} // namespace

bool readOptions(const QStringList &arguments, Options *options, QString *error)
{
    QCommandLineParser parser;
    for (const CommandOption &option : allOptions())
        parser.addOption(QCommandLineOption(option.names, "", option.value));
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    options->words = parser.positionalArguments();
    options->strict = parser.isSet("strict");
    options->watch = parser.isSet("watch");
    options->write = parser.isSet("write");
    options->help = parser.isSet("help");
    options->version = parser.isSet("version");
    options->kit = parser.isSet("kit");
    options->manifestOnly = parser.isSet("manifest-only");
    options->output = parser.value("output");
    options->language = parser.value("language");
    options->mountedAt = parser.value("mounted-at");
    options->format = parser.isSet("json") ? "json" : parser.value("format");
    options->expect = parser.value("expect");
    options->size = parser.value("size");
    options->signing = {parser.values("key"), parser.value("passphrase-file"),
                        parser.isSet("compatible") ? parser.value("compatible") : QString(),
                        parser.value("serial")};
    if (options->version || (options->help && options->words.isEmpty()))
        return true;
    *error = wrongUsage(*options, parser);
    return error->isEmpty();
}
