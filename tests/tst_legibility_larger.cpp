// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/languages.h"
#include "support/legibility.h"

#include <QGuiApplication>
#include <QScreen>

/// That the shipped resolution is the largest at which everything fits. Run with one dot per inch more.
class TestLegibilityLarger : public QObject
{
    Q_OBJECT

private slots:
    void atOneDotMoreTheLongestRequestIsCut();
};

void TestLegibilityLarger::atOneDotMoreTheLongestRequestIsCut()
{
    QCOMPARE(qRound(QGuiApplication::primaryScreen()->logicalDotsPerInch()), ZUL_ONE_DOT_MORE);
    QStringList cut;
    for (const Screen &screen : screensIn("en"))
        cut += cutTexts(screen.texts);
    cut.removeDuplicates();
    QCOMPARE(cut.size(), 1);
    QVERIFY2(cut.first().contains("unplug storage device"), qPrintable(cut.first()));
    qInfo("%s", qPrintable(cut.first()));
}

SHIPPED_TEST_MAIN(TestLegibilityLarger)
#include "tst_legibility_larger.moc"
