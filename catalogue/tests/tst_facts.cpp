// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "common/controller.h"
#include "debuglines.h"
#include "reading/medium.h"
#include "rules/collector.h"
#include "window/isolatedwindow.h"
#include "window/preview.h"
#include "windowmembers.h"

#include "gate/manifest.h"
#include "gate/settings.h"
#include "gate/signature.h"

#include <QApplication>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace
{

QString megabytes(quint64 bytes)
{
    return QString::number(bytes >> 20);
}

} // namespace

/// What the checker says of the controller, and the documents of the checker, held to where it is decided.
class TestFacts : public QObject
{
    Q_OBJECT

private slots:
    void theToolLooksForTheCatalogueThere();
    void theToolRebootsAfterTheCountdown();
    void everyPlaceTellsTheSame_data();
    void everyPlaceTellsTheSame();
};

void TestFacts::theToolLooksForTheCatalogueThere()
{
    IsolatedWindow window;
    const DebugLines debug;
    window.widget().checkMmc_udisk();
    const QString place = QString(mediumFolder) + catalogueName;
    QVERIFY2(debug.lines().contains(place + " unPresence"), qPrintable(debug.lines().join('\n')));
}

void TestFacts::theToolRebootsAfterTheCountdown()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("catalogue"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@true\"\n");
    file.close();
    IsolatedWindow window;
    window.read(file.fileName());
    QTimer *countdown = rebootTimerOf(window.widget());
    countdown->start();
    int ticks = 0;
    while (countdown->isActive() && ticks <= 2 * countdownSeconds) {
        window.tick();
        ++ticks;
    }
    QCOMPARE(ticks * countdown->interval(), countdownSeconds * 1000);
}

void TestFacts::everyPlaceTellsTheSame_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("told");
    const auto row = [](const char *name, const char *path, const char *pattern, const QString &told) {
        QTest::newRow(name) << QString(path) << QString(pattern) << told;
    };
    const char manual[] = "docs/writing-catalogues.md";
    const char page[] = "catalogue/zul_catalogue.1";
    const QSize screen = IsolatedWindow().widget().size();
    const QStringList words{"No", "One", "Two", "Three", "Four", "Five"};
    row("the worker's pause", "src/widget.cpp", "settleSeconds = (\\d+);", QString::number(settleSeconds));
    row("what a card's folder has in its name", "src/widget.cpp",
        R"re(mountPath.contains\("(\w+)"\)\)\s+mediaType = SdCard)re", cardMark);
    row("what a drive's folder has in its name", "src/widget.cpp",
        R"re(mountPath.contains\("(\w+)"\)\)\s+mediaType = UsbDrive)re", driveMark);
    row("the pause, in the manual", manual, "(\\w+) seconds (?:pass before every|for each) command",
        words.value(settleSeconds));
    row("the countdown, in the manual", manual, "(\\d+) seconds\\s+after", QString::number(countdownSeconds));
    row("how many of a kind, in the manual", manual, "At most (\\d+) of a kind",
        QString::number(keptOfAKind));
    row("how much a controller takes, in the manual", manual, "(\\d+) MB,? unless",
        megabytes(gate::usualMaximumSize));
    row("how much is compared, in the manual page", page, "up to (\\d+) MB",
        megabytes(gate::usualMaximumSize));
    row("how much memory stays free, in the manual", manual, "with (\\d+) MB left free",
        megabytes(gate::usualFreeMemory));
    row("the largest manifest, in the manual", manual, "(\\d+) MiB\\. The controller",
        megabytes(gate::largestManifest));
    row("how long a signature is, in the manual", manual, "no signature of (\\d+) bytes",
        QString::number(gate::signatureLength));
    row("the largest catalogue, in the manual page", page, "\\((\\d+) MiB\\)",
        QString::number(largestCatalogue / 1024 / 1024));
    row("the most that are chosen, in the manual page", page, "(?:more than|the first) (\\d+)",
        QString::number(mostChosen));
    row("the screen, in the manual page", page, "(\\d+ x \\d+)",
        QString("%1 x %2").arg(screen.width()).arg(screen.height()));
}

void TestFacts::everyPlaceTellsTheSame()
{
    QFETCH(QString, path);
    QFETCH(QString, pattern);
    QFETCH(QString, told);
    QFile file(SOURCES "/" + path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
    const QString text = QString::fromUtf8(file.readAll());
    int places = 0;
    for (auto found = QRegularExpression(pattern).globalMatch(text); found.hasNext(); ++places) {
        const QRegularExpressionMatch match = found.next();
        const int line = 1 + static_cast<int>(text.leftRef(match.capturedStart()).count('\n'));
        QVERIFY2(match.captured(1) == told,
                 qPrintable(
                     QString("%1:%2: \"%3\", but it is %4").arg(path).arg(line).arg(match.captured(), told)));
    }
    QVERIFY2(places > 0, qPrintable(path + " does not tell it"));
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    TestFacts test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_facts.moc"
