// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/verdict.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

/// What the tool makes of a catalogue.
class TestVerdict : public QObject
{
    Q_OBJECT

private slots:
    void aChoiceIsListedInOrderWithItsClosingCommands();
    void withoutEndgameNothingIsAdded();
    void directModeListsWhatRuns();
    void aCatalogueWithoutAListIsNotRecognised();
    void aMissingFileIsNotRecognised();
    void aSkippedCommandHasNoWords();
    void aRepeatedNameRunsTheLaterCommand();
    void calibrationIsTold();
    void theToolsOwnLinesAreKept();

private:
    Verdict verdictOn(const QByteArray &catalogue);

    QTemporaryDir folder;
    int files = 0;
};

Verdict TestVerdict::verdictOn(const QByteArray &catalogue)
{
    const QString path = folder.filePath(QString::number(++files));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(catalogue) != catalogue.size())
        qFatal("no place for a catalogue");
    file.close();
    return readVerdict(path);
}

void TestVerdict::aChoiceIsListedInOrderWithItsClosingCommands()
{
    const Verdict verdict =
        verdictOn("[system]\nCMD_List=\"b,a\"\n[CMD]\na=A@cp x \"y\"\nb=\"B@cp \\\"x y\\\"\"\n");
    QCOMPARE(verdict.mode, Verdict::Selection);
    QCOMPARE(verdict.operations.size(), 2);
    QCOMPARE(verdict.operations.at(0).name, QString("B"));
    QCOMPARE(verdict.operations.at(0).words, (QStringList{"cp", "x y"}));
    QCOMPARE(verdict.operations.at(1).name, QString("A"));
    QCOMPARE(verdict.operations.at(1).words, (QStringList{"cp", "x", "y"}));
    QVERIFY(verdict.endGame);
    QCOMPARE(verdict.closing.size(), 2);
    QCOMPARE(verdict.closing.at(0).words, QStringList("sync"));
    QCOMPARE(verdict.closing.at(1).words, QStringList("reboot"));
}

void TestVerdict::withoutEndgameNothingIsAdded()
{
    const Verdict verdict = verdictOn("[system]\nCMD_List=a\nENDGAME=false\n[CMD]\na=A@cp\n");
    QCOMPARE(verdict.mode, Verdict::Selection);
    QVERIFY(!verdict.endGame);
    QVERIFY(verdict.closing.isEmpty());
}

void TestVerdict::directModeListsWhatRuns()
{
    const Verdict verdict = verdictOn("[system]\nCMD_Type=\"a,x,b\"\n[CMD]\na=A@cp\nb=B@mv\n");
    QCOMPARE(verdict.mode, Verdict::Direct);
    QCOMPARE(verdict.operations.size(), 2);
    QCOMPARE(verdict.operations.at(1).name, QString("B"));
    QVERIFY(verdict.closing.isEmpty());
}

void TestVerdict::aCatalogueWithoutAListIsNotRecognised()
{
    QCOMPARE(verdictOn("[System]\nCMD_List=a\n[CMD]\na=A@cp\n").mode, Verdict::Unrecognised);
}

void TestVerdict::aMissingFileIsNotRecognised()
{
    QCOMPARE(readVerdict(folder.filePath("nothing")).mode, Verdict::Unrecognised);
}

void TestVerdict::aSkippedCommandHasNoWords()
{
    const Verdict verdict = verdictOn("[system]\nCMD_List=\"a,b\"\n[CMD]\na=A@update.sh\nb=B@sh update.sh\n");
    QVERIFY(verdict.operations.at(0).skipped);
    QVERIFY(verdict.operations.at(0).words.isEmpty());
    QVERIFY(!verdict.operations.at(1).skipped);
}

void TestVerdict::aRepeatedNameRunsTheLaterCommand()
{
    const Verdict verdict = verdictOn("[system]\nCMD_List=\"a,b\"\n[CMD]\na=A@first\nb=A@second\n");
    QCOMPARE(verdict.operations.size(), 2);
    QCOMPARE(verdict.operations.at(0).command, QString("second"));
    QCOMPARE(verdict.operations.at(1).command, QString("second"));
}

void TestVerdict::calibrationIsTold()
{
    const Verdict verdict = verdictOn("[system]\nCMD_List=\"a,b\"\n[CMD]\na=A@ts_calibrate\nb=B@cp\n");
    QVERIFY(verdict.operations.at(0).calibration);
    QVERIFY(!verdict.operations.at(1).calibration);
}

void TestVerdict::theToolsOwnLinesAreKept()
{
    QCOMPARE(verdictOn("[system]\nCMD_List=\"a,,b\"\n[CMD]\na=A@cp\n").log,
             (QStringList{"empty command name in the list", "empty command"}));
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    TestVerdict test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_verdict.moc"
