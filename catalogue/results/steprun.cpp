// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/steprun.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

bool StepRun::wasRun() const
{
    return outcome == "begun" || outcome == "done" || outcome == "failed" || outcome == "late";
}

QString readStepRun(const QByteArray &line, StepRun *run)
{
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(line, &error).object();
    if (error.error != QJsonParseError::NoError)
        return "damaged";
    const QJsonValue form = object.value("zul_step");
    if (!form.isDouble())
        return "not of a step";
    if (form.toDouble() != 1)
        return "of a form that is not known here";
    for (const char *text : {"history", "time", "controller", "medium", "name", "outcome", "output"}) {
        if (!object.value(text).isString())
            return QString("without its ") + text;
    }
    if (!object.value("number").isDouble() || !object.value("seconds").isDouble())
        return "without its number or its seconds";
    *run = {object.value("history").toString(),    static_cast<qint64>(object.value("number").toDouble()),
            object.value("time").toString(),       static_cast<qint64>(object.value("seconds").toDouble()),
            object.value("controller").toString(), object.value("medium").toString(),
            object.value("name").toString(),       object.value("outcome").toString(),
            object.value("exit").toInt(-1),        object.value("output").toString()};
    const QStringList known{"begun", "done", "failed", "late", "stopped", "other-kind", "already"};
    return known.contains(run->outcome) ? QString() : "with an outcome that is not known here";
}
