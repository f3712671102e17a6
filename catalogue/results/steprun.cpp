// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/steprun.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

#include <cmath>

namespace
{

constexpr double mostExact = 9007199254740992.0; ///< up to which a double has every whole number

bool isWhole(const QJsonValue &value, double least, double most)
{
    const double number = value.toDouble(least - 1);
    return number >= least && number <= most && std::floor(number) == number;
}

/// What is wrong with the form's version, empty when nothing is.
QString wrongForm(const QJsonValue &form)
{
    if (!form.isDouble())
        return "not of a step";
    if (isWhole(form, 2, mostExact))
        return QString("of form %1, which a newer zul_catalogue knows").arg(form.toDouble());
    return form.toDouble() == 1 ? QString() : QString("of a form that is not known here");
}

} // namespace

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
    QString wrong = wrongForm(object.value("zul_step"));
    if (!wrong.isEmpty())
        return wrong;
    for (const char *text : {"history", "time", "controller", "medium", "name", "outcome", "output"}) {
        if (!object.value(text).isString())
            return QString("without its ") + text;
    }
    if (!isWhole(object.value("number"), 1, mostExact) || !isWhole(object.value("seconds"), 0, mostExact))
        return "without its number or its seconds";
    if (!object.value("exit").isNull() && !isWhole(object.value("exit"), 0, 255))
        return "without its exit code";
    static const QRegularExpression time("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$");
    if (!time.match(object.value("time").toString()).hasMatch())
        return "with a time that is none";
    *run = {object.value("history").toString(),    static_cast<qint64>(object.value("number").toDouble()),
            object.value("time").toString(),       static_cast<qint64>(object.value("seconds").toDouble()),
            object.value("controller").toString(), object.value("medium").toString(),
            object.value("name").toString(),       object.value("outcome").toString(),
            object.value("exit").toInt(-1),        object.value("output").toString()};
    const QStringList known{"begun", "done", "failed", "late", "stopped", "other-kind", "already", "refused"};
    return known.contains(run->outcome) ? QString() : "with an outcome that is not known here";
}
