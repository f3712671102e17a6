// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/language.h"

#include "common/failure.h"
#include "common/share.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>

namespace
{

/// As the toolkit's own option -stylesheet does it, which is how the service names the file.
void setScreenSheet(const QString &file)
{
    qApp->setStyleSheet("file:///" + file);
}

QDir translations()
{
    return QDir(shareFolder() + "/translations");
}

} // namespace

QStringList Language::codes()
{
    QStringList codes{builtInLanguage};
    for (const QString &file : translations().entryList({"*.qm"}, QDir::Files))
        codes.append(QFileInfo(file).completeBaseName());
    codes.sort();
    return codes;
}

void Language::speakEnglish()
{
    setScreenSheet(shareFolder() + "/english.qss");
}

bool Language::speak(const QString &name, Failure *failure)
{
    QString file = name;
    if (!name.contains('/') && !name.endsWith(".qm")) {
        if (name == builtInLanguage)
            return true;
        if (!codes().contains(name)) {
            *failure = {ExitNoInput, name + ": not among the languages: " + codes().join(' ')};
            return false;
        }
        file = translations().filePath(name + ".qm");
    }
    if (!QFileInfo(file).isFile() || !translator.load(file)) {
        *failure = {ExitNoInput, file + ": not a translation file that can be read"};
        return false;
    }
    QApplication::installTranslator(&translator);
    setScreenSheet(shareFolder() + "/translated.qss");
    return true;
}

Language::~Language()
{
    speakEnglish(); // a translator that ends is no longer asked
}
