// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/keysread.h"

#include <QSettings>
#include <QVariant>

#include <dlfcn.h>

namespace
{

bool isCollecting = false;
QStringList keys;

using Value = QVariant (*)(const QSettings *, const QString &, const QVariant &);

Value valueOfQt()
{
    auto *symbol = dlsym(RTLD_NEXT, "_ZNK9QSettings5valueERK7QStringRK8QVariant");
    if (!symbol)
        qFatal("Qt has no QSettings::value(QString, QVariant)");
    return reinterpret_cast<Value>(symbol);
}

} // namespace

// The program's own definition comes before that of Qt's library.
QVariant QSettings::value(const QString &key, const QVariant &defaultValue) const
{
    static const Value qtsOwn = valueOfQt();
    if (isCollecting)
        keys.append(key);
    return qtsOwn(this, key, defaultValue);
}

KeysRead::KeysRead()
{
    keys.clear();
    isCollecting = true;
}

KeysRead::~KeysRead()
{
    isCollecting = false;
}

QStringList KeysRead::list() const
{
    return keys;
}
