// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QEvent>
#include <QGenericPlugin>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QStyle>
#include <QWidget>

#include <cstdio>
#include <iostream>
#include <string>

#include <unistd.h>

namespace
{

/// The texts of the window with this class name, by object name; its title under the empty name.
QJsonObject textsOf(const char *className)
{
    QJsonObject texts;
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        if (qstrcmp(window->metaObject()->className(), className) != 0)
            continue;
        texts.insert("", window->windowTitle());
        for (const QWidget *child : window->findChildren<QWidget *>()) {
            const QVariant text = child->property("text");
            if (!child->objectName().isEmpty() && text.isValid())
                texts.insert(child->objectName(), text.toString());
        }
    }
    return texts;
}

} // namespace

/// Says what an application looks like from inside, without a change to the application: Qt loads it because
/// the environment asks for it. It takes these lines from standard input:
///
///     report      prints one line of JSON: arguments, style, quitsWithLastWindow, desktopSettings,
///                 shown, window, question
///     quit CODE   ends the event loop with this exit code
class Probe : public QObject
{
    Q_OBJECT

public:
    Probe();
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void takeLine();
    void report() const;

    QSocketNotifier input{STDIN_FILENO, QSocketNotifier::Read};
    QJsonArray shown; ///< class name of every window that was ever shown
};

Probe::Probe()
{
    connect(&input, &QSocketNotifier::activated, this, &Probe::takeLine);
    QCoreApplication::instance()->installEventFilter(this);
}

bool Probe::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() == QEvent::Show && object->isWidgetType() && static_cast<QWidget *>(object)->isWindow())
        shown.append(object->metaObject()->className());
    return false;
}

void Probe::takeLine()
{
    std::string line;
    if (!std::getline(std::cin, line)) {
        input.setEnabled(false);
        return;
    }
    int code = 0;
    if (line == "report")
        report();
    else if (std::sscanf(line.c_str(), "quit %d", &code) == 1)
        QCoreApplication::exit(code);
}

void Probe::report() const
{
    const QJsonObject found{
        {"arguments", QJsonArray::fromStringList(QCoreApplication::arguments())},
        {"style", QApplication::style()->objectName()},
        {"quitsWithLastWindow", QGuiApplication::quitOnLastWindowClosed()},
        {"desktopSettings", QGuiApplication::desktopSettingsAware()},
        {"shown", shown},
        {"window", textsOf("Widget")},
        {"question", textsOf("QMessageBox")},
    };
    std::cout << QJsonDocument(found).toJson(QJsonDocument::Compact).constData() << std::endl;
}

/// Ends the process, as it stands, when its event loop begins: what it has cost by then is its start.
class StartOnly : public QObject
{
    Q_OBJECT

public:
    StartOnly()
    {
        const QAbstractEventDispatcher *loop = QCoreApplication::eventDispatcher();
        // One of them comes first, depending on the dispatcher.
        connect(loop, &QAbstractEventDispatcher::awake, [] { _exit(0); });
        connect(loop, &QAbstractEventDispatcher::aboutToBlock, [] { _exit(0); });
    }
};

/// With the argument "start": StartOnly. Without one: the probe.
class ProbePlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "probe.json")

public:
    QObject *create(const QString &, const QString &argument) override
    {
        if (argument == "start")
            return new StartOnly;
        return new Probe;
    }
};

#include "probe.moc"
