// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef KEYSREAD_H
#define KEYSREAD_H

#include <QStringList>

/// Collects the keys that are asked of settings objects while it lives, in their order. One at a time. Takes
/// the place of QSettings::value() in a test that has support/keysread.cpp among its sources.
class KeysRead
{
public:
    KeysRead();
    ~KeysRead();
    KeysRead(const KeysRead &) = delete;
    KeysRead &operator=(const KeysRead &) = delete;

    QStringList list() const;
};

#endif
