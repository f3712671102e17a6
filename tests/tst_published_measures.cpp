// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/languages.h"
#include "support/legibilitytables.h"
#include "support/sandboxed.h"
#include "support/screentour.h"

#include "debuglines.h"

#include <QFile>

/// What docs/translating.md says of sizes is what is measured.
class TestPublishedMeasures : public QObject
{
    Q_OBJECT

private slots:
    void capitalsAreHighEnough();
    void touchTargetsAreForFingers();
    void guideSaysWhatIsMeasured_data();
    void guideSaysWhatIsMeasured();
};

namespace
{

/// What the form gives a list's row; nothing else that is touched is smaller.
constexpr int leastForFingers = 35;

QMap<QString, QVector<Screen>> everyLanguage()
{
    QMap<QString, QVector<Screen>> screens;
    for (const QString &language : shippedLanguages())
        screens.insert(language, screensIn(language));
    return screens;
}

QVector<TouchTarget> touchTargets()
{
    QVector<TouchTarget> targets;
    QStringList seen;
    const DebugLines unheard;
    const InLanguage set("en");
    ScreenTour([&](const QString &, QWidget &shown) {
        for (const TouchTarget &target : touchTargetsOf(shown)) {
            if (!seen.contains(target.name))
                targets.append(target);
            seen.append(target.name);
        }
    }).go();
    return targets;
}

// --- The guide ------------------------------------------------------------------------------------------

/// The table below the comment with its name, up to the next comment.
QString tableOfTheGuide(const char *name)
{
    QFile file(ZUL_GUIDE);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", ZUL_GUIDE);
    const QString begin = QString("<!-- measured: %1 -->\n").arg(name);
    return QString::fromUtf8(file.readAll()).section(begin, 1).section("<!-- ", 0, 0);
}

} // namespace

/// For who stands 400 mm away, at least as ISO 9241-303 has it.
void TestPublishedMeasures::capitalsAreHighEnough()
{
    const double needed = heightSeenMm(16, 400);
    for (const Screen &screen : screensIn("de")) {
        for (const ShownText &shown : screen.texts) {
            const double given = capitalHeightMm(shown.font);
            QVERIFY2(given >= needed, qPrintable(QString("%1 needs capitals of %2 mm, has %3 mm")
                                                     .arg(shown.field)
                                                     .arg(needed)
                                                     .arg(given)));
        }
    }
}

void TestPublishedMeasures::touchTargetsAreForFingers()
{
    QMap<QString, int> least;
    for (const TouchTarget &target : touchTargets())
        least.insert(target.name, qMin(target.size.width(), target.size.height()));
    QCOMPARE(least.size(), 9);
    // The form leaves it no more beside the details.
    QCOMPARE(least.take("scroll bar of the table"), 16);
    for (auto target = least.begin(); target != least.end(); ++target)
        QVERIFY2(target.value() >= leastForFingers, qPrintable(QString("%1 needs %2 pixels, has %3")
                                                                   .arg(target.key())
                                                                   .arg(leastForFingers)
                                                                   .arg(target.value())));
}

void TestPublishedMeasures::guideSaysWhatIsMeasured_data()
{
    QTest::addColumn<QString>("measured");
    QTest::newRow("tightest fields") << tightestFields(everyLanguage(), 10);
    QTest::newRow("capital heights") << capitalHeights(screensIn("de"), 64);
    QTest::newRow("recommended heights") << recommendedHeights({400, 450, 500});
    QTest::newRow("touch targets") << touchTargetTable(touchTargets());
}

/// Each table stands in the guide between two comments. They are printed for tests/write-measures.
void TestPublishedMeasures::guideSaysWhatIsMeasured()
{
    QFETCH(const QString, measured);
    qInfo("\n%s", qPrintable(measured));
    QVERIFY2(tableOfTheGuide(QTest::currentDataTag()) == measured,
             "docs/translating.md has another table: tests/write-measures writes this one into it");
}

SHIPPED_TEST_MAIN(TestPublishedMeasures)
#include "tst_published_measures.moc"
