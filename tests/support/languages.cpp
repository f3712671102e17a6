// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/languages.h"

#include <QApplication>
#include <QFile>

namespace
{

const QString builtIn = "en";

void setSheet(const QString &name)
{
    QFile file(ZUL_SHARE "/" + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(file.fileName()));
    qApp->setStyleSheet(QString::fromUtf8(file.readAll()));
}

} // namespace

QStringList shippedLanguages()
{
    return QStringList(builtIn) + QString(ZUL_LANGUAGES).split(',');
}

InLanguage::InLanguage(const QString &code)
{
    if (code == builtIn) {
        setSheet("english.qss");
        return;
    }
    if (!translator.load(code + ".qm", ZUL_SHARE "/translations"))
        qFatal("there is no translation for %s", qPrintable(code));
    QCoreApplication::installTranslator(&translator);
    setSheet("translated.qss");
}

InLanguage::~InLanguage()
{
    qApp->setStyleSheet(QString());
    QCoreApplication::removeTranslator(&translator);
}
