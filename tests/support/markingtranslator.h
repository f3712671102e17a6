// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef MARKINGTRANSLATOR_H
#define MARKINGTRANSLATOR_H

#include <QCoreApplication>
#include <QTranslator>

/// While it lives, every text of the window's translation context reads as itself in angle brackets.
class MarkingTranslator : public QTranslator
{
public:
    MarkingTranslator()
    {
        QCoreApplication::installTranslator(this);
    }

    ~MarkingTranslator() override
    {
        QCoreApplication::removeTranslator(this);
    }

    QString translate(const char *context, const char *source, const char *, int) const override
    {
        return qstrcmp(context, "Widget") == 0 ? QString("<%1>").arg(QString::fromUtf8(source)) : QString();
    }

    bool isEmpty() const override
    {
        return false;
    }
};

#endif
