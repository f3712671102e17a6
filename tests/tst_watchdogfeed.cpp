// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "privatemember.h"
#include "support/fakeprograms.h"
#include "support/sandboxed.h"
#include "support/sentcommands.h"
#include "support/systemlimit.h"
#include "support/watchdogqueue.h"
#include "support/watchdogsamples.h"

#include "watchdogfeed.h"
#include "widget.h"

#include <cerrno>
#include <cstddef>

#include <sys/msg.h>
#include <sys/stat.h>

PRIVATE_MEMBER(MyMessageType, int, msqid)
PRIVATE_MEMBER(MyMessageType, long, receiveType)
PRIVATE_MEMBER(WatchDogFeed, MyMessageType *, messenger)

using Send = void (*)(WatchDogFeed &);
Q_DECLARE_METATYPE(Send)

namespace
{

constexpr int textSize = 512;
constexpr int receiveLimit = 8192;

/// What the text area of a sender that has sent nothing else holds.
QByteArray areaWith(const QByteArray &text)
{
    return text.leftJustified(textSize, '\0');
}

/// A channel that is open.
class OpenChannel : public MyMessageType
{
public:
    OpenChannel()
    {
        createMessageId(watchdogQueueId);
    }
};

/// Makes every new queue impossible.
class NoMoreQueues : public SystemLimit
{
public:
    NoMoreQueues()
        : SystemLimit("msgmni", 0)
    {
    }
};

QString lineOfKey(key_t key)
{
    return QString("key = %1").arg(key);
}

} // namespace

class TestWatchDogFeed : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theRecordIsATypeAndATextAreaOf512Bytes();
    void theKeyComesFromTheWatchdogsFile_data();
    void theKeyComesFromTheWatchdogsFile();
    void withoutTheWatchdogsFileTheKeyIsMinusOneAndCommandsAreStill();
    void everyoneMayUseTheQueue();
    void anExistingQueueIsOpenedWithItsMessages();
    void creatingAgainFollowsTheFile();
    void aFailedCreationIsReportedByTheReturnValueOnly();
    void beforeCreationNothingIsOpen();
    void theChannelRemembersNoError();

    void writeSendsTheWholeTextArea_data();
    void writeSendsTheWholeTextArea();
    void writeSendsTypeOneWhateverTheArgument_data();
    void writeSendsTypeOneWhateverTheArgument();
    void aShorterTextLeavesTheTailOfTheLongerOne();
    void aTextLongerThanTheTextAreaStaysInsideTheRecord_data();
    void aTextLongerThanTheTextAreaStaysInsideTheRecord();
    void writeWithTypeMinusOneSendsNothing();
    void writeToAFullQueueFailsAtOnce();
    void writeToARemovedQueueFails();

    void readOfAnEmptyQueueReturnsAtOnce();
    void readTakesMessagesOfAnyTypeInTheirOrder();
    void readTakesTheTextUpToItsZeroByte_data();
    void readTakesTheTextUpToItsZeroByte();
    void readKeepsALongMessageInsideTheRecord_data();
    void readKeepsALongMessageInsideTheRecord();
    void readLeavesAnOverlongMessageOnTheQueue();
    void readAndWriteShareTheRecord();
    void readWithTypeMinusOneTakesNothing();
    void withoutAQueueTheErrorThatStandsIsReported_data();
    void withoutAQueueTheErrorThatStandsIsReported();

    void everyCommandGoesOutByteForByte_data();
    void everyCommandGoesOutByteForByte();
    void theChannelIsOpenedOnce();
    void aQueueThatCouldNotBeOpenedIsTriedBeforeEveryCommand();
    void aCommandForAFullQueueIsLost();
    void theChannelBelongsToTheFeeder();
    void theWindowForwardsItsCommands();
};

void TestWatchDogFeed::init()
{
    // What a run that was cut short may have left.
    QFile::remove(WatchdogFile::path());
}

void TestWatchDogFeed::cleanup()
{
    WatchdogQueue().remove();
}

// --- The channel: record and key ------------------------------------------------------------------------

void TestWatchDogFeed::theRecordIsATypeAndATextAreaOf512Bytes()
{
    QCOMPARE(offsetof(WatchdogMessage, mtype), size_t(0));
    QCOMPARE(offsetof(WatchdogMessage, mtext), sizeof(long));
    QCOMPARE(sizeof(WatchdogMessage), sizeof(long) + textSize);
    QCOMPARE(MyMessageType::staticMetaObject.className(), "MyMessageType");
    QCOMPARE(MyMessageType::staticMetaObject.methodCount(), QObject::staticMetaObject.methodCount());
}

void TestWatchDogFeed::theKeyComesFromTheWatchdogsFile_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("projectId");

    QTest::newRow("the system's id") << 6799 << 143;
    QTest::newRow("an id below 256") << 143 << 143;
    QTest::newRow("the remainder's largest value") << 511 << 255;
}

void TestWatchDogFeed::theKeyComesFromTheWatchdogsFile()
{
    QFETCH(int, id);
    QFETCH(int, projectId);
    const WatchdogFile file;
    struct stat status;
    QCOMPARE(stat(QFile::encodeName(WatchdogFile::path()).constData(), &status), 0);
    const auto key = static_cast<key_t>(static_cast<quint32>(projectId) << 24 | (status.st_dev & 0xff) << 16
                                        | (status.st_ino & 0xffff));
    WatchdogQueue queue(key);
    MyMessageType channel;
    const DebugLines debug;

    const int result = channel.createMessageId(id);

    QCOMPARE(result, queue.id());
    QVERIFY(channel.isCreate());
    QCOMPARE(debug.lines(), QStringList{lineOfKey(key)});
    queue.remove();
}

void TestWatchDogFeed::withoutTheWatchdogsFileTheKeyIsMinusOneAndCommandsAreStill()
{
    WatchdogQueue queue(-1);
    const DebugLines debug;

    WatchDogFeed feeder;
    feeder.onSuspend(600);

    QCOMPARE(debug.lines(), QStringList{"key = -1"});
    QCOMPARE(takeSentCommands(), QStringList{"syscmd_suspend@600"});
}

void TestWatchDogFeed::everyoneMayUseTheQueue()
{
    MyMessageType channel;

    const int id = channel.createMessageId(watchdogQueueId);

    msqid_ds status;
    QCOMPARE(msgctl(id, IPC_STAT, &status), 0);
    QCOMPARE(int(status.msg_perm.mode & 0777), 0666);
}

void TestWatchDogFeed::anExistingQueueIsOpenedWithItsMessages()
{
    WatchdogQueue queue(-1);
    QVERIFY(queue.put("from the watchdog"));

    OpenChannel channel;

    QCOMPARE(msqidOf(channel), queue.id());
    QCOMPARE(channel.read(0), QString("from the watchdog"));
}

void TestWatchDogFeed::creatingAgainFollowsTheFile()
{
    OpenChannel channel;
    const int idWithoutFile = msqidOf(channel);
    const WatchdogFile file;
    WatchdogQueue queue;

    QCOMPARE(channel.createMessageId(watchdogQueueId), queue.id());

    QVERIFY(queue.id() != idWithoutFile);
    QCOMPARE(channel.write("to the new queue", 0), 0);
    QCOMPARE(queue.take(), areaWith("to the new queue"));
    queue.remove();
    WatchdogQueue(-1).remove();
}

void TestWatchDogFeed::aFailedCreationIsReportedByTheReturnValueOnly()
{
    const NoMoreQueues limit;
    MyMessageType channel;
    const DebugLines debug;

    QCOMPARE(channel.createMessageId(watchdogQueueId), -1);

    QVERIFY(!channel.isCreate());
    QCOMPARE(debug.lines(), QStringList{"key = -1"});
}

void TestWatchDogFeed::beforeCreationNothingIsOpen()
{
    MyMessageType channel;

    QVERIFY(!channel.isCreate());
    QCOMPARE(channel.write("syscmd_stop", 0), -1);
    QCOMPARE(channel.read(0), QString());
}

// --- The channel: write ---------------------------------------------------------------------------------

void TestWatchDogFeed::theChannelRemembersNoError()
{
    struct Designed : QObject {
        WatchdogMessage message;
        int msqid;
        long receiveType;
    };
    QCOMPARE(sizeof(MyMessageType), sizeof(Designed));
}

void TestWatchDogFeed::writeSendsTheWholeTextArea_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("area");

    QTest::newRow("ASCII") << "syscmd_stop" << areaWith("syscmd_stop");
    QTest::newRow("UTF-8") << QString::fromUtf8("Größe 中")
                           << areaWith("Gr\xc3\xb6\xc3\x9f"
                                       "e \xe4\xb8\xad");
    QTest::newRow("no text") << "" << areaWith("");
    QTest::newRow("a text that just fits") << QString(511, 'x') << areaWith(QByteArray(511, 'x'));
}

void TestWatchDogFeed::writeSendsTheWholeTextArea()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, area);
    OpenChannel channel;
    WatchdogQueue queue;
    const DebugLines debug;

    QCOMPARE(channel.write(text, 0), 0);

    QCOMPARE(queue.length(), 1);
    QCOMPARE(queue.take(), area);
    QCOMPARE(debug.lines(), QStringList());
}

void TestWatchDogFeed::writeSendsTypeOneWhateverTheArgument_data()
{
    QTest::addColumn<int>("type");

    QTest::newRow("0") << 0;
    QTest::newRow("1") << 1;
    QTest::newRow("2") << 2;
    QTest::newRow("-2") << -2;
}

void TestWatchDogFeed::writeSendsTypeOneWhateverTheArgument()
{
    QFETCH(int, type);
    OpenChannel channel;
    WatchdogQueue queue;

    QCOMPARE(channel.write("syscmd_stop", type), 0);

    QCOMPARE(queue.take(), areaWith("syscmd_stop"));
    QCOMPARE(queue.takenType(), 1L);
}

void TestWatchDogFeed::aShorterTextLeavesTheTailOfTheLongerOne()
{
    OpenChannel channel;
    WatchdogQueue queue;

    QCOMPARE(channel.write("a longer text", 0), 0);
    QCOMPARE(channel.write("short", 0), 0);

    QCOMPARE(queue.take(), areaWith("a longer text"));
    QCOMPARE(queue.take(), areaWith(QByteArray("short\0er text", 13)));
}

void TestWatchDogFeed::aTextLongerThanTheTextAreaStaysInsideTheRecord_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("sent");

    QTest::newRow("one byte too long") << QString(512, 'x') << QByteArray(511, 'x');
    QTest::newRow("a record too long") << QString(1024, 'x') << QByteArray(511, 'x');
    QTest::newRow("a mebibyte") << QString(1 << 20, 'x') << QByteArray(511, 'x');
    QTest::newRow("a character across the end")
        << QString(256, QChar(0xe4)) << QByteArray("\xc3\xa4").repeated(255) + '\xc3';
}

void TestWatchDogFeed::aTextLongerThanTheTextAreaStaysInsideTheRecord()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, sent);
    OpenChannel channel;
    WatchdogQueue queue;

    QCOMPARE(channel.write(text, 0), 0);

    QCOMPARE(queue.take(), areaWith(sent));
    QCOMPARE(msqidOf(channel), queue.id());
    QCOMPARE(receiveTypeOf(channel), 0L);
    QCOMPARE(channel.write("the next one", 0), 0);
    QCOMPARE(takeSentCommands(), QStringList{"the next one"});
}

void TestWatchDogFeed::writeWithTypeMinusOneSendsNothing()
{
    OpenChannel channel;
    WatchdogQueue queue;
    const QString text = "syscmd_stop";
    const DebugLines debug;

    errno = EACCES;
    const int result = channel.write(text, -1);

    QCOMPARE(result, -1);
    QCOMPARE(debug.lines(), QStringList{QString("msgget failed with error: %1").arg(EACCES)});
    QCOMPARE(queue.length(), 0);
}

void TestWatchDogFeed::writeToAFullQueueFailsAtOnce()
{
    OpenChannel channel;
    WatchdogQueue queue;
    queue.fill();
    const int full = queue.length();
    const DebugLines debug;

    QCOMPARE(channel.write("syscmd_stop", 0), -1);

    QCOMPARE(debug.lines(), QStringList{"msgsnd failed: "});
    QCOMPARE(queue.length(), full);
    queue.take();
    QCOMPARE(channel.write("syscmd_resume", 0), 0);
    QCOMPARE(takeSentCommands().last(), QString("syscmd_resume"));
}

void TestWatchDogFeed::writeToARemovedQueueFails()
{
    OpenChannel channel;
    WatchdogQueue().remove();
    const DebugLines debug;

    QCOMPARE(channel.write("syscmd_stop", 0), -1);

    QCOMPARE(debug.lines(), QStringList{"msgsnd failed: "});
    QVERIFY(channel.isCreate());
}

// --- The channel: read ----------------------------------------------------------------------------------

// A read that waits for a message would never return.
void TestWatchDogFeed::readOfAnEmptyQueueReturnsAtOnce()
{
    OpenChannel channel;
    const DebugLines debug;

    QCOMPARE(channel.read(0), QString());

    QCOMPARE(debug.lines(), QStringList());
}

void TestWatchDogFeed::readTakesMessagesOfAnyTypeInTheirOrder()
{
    OpenChannel channel;
    WatchdogQueue queue;
    QVERIFY(queue.put("first", 7));
    QVERIFY(queue.put("second", 1));

    QCOMPARE(channel.read(1), QString("first"));
    QCOMPARE(channel.read(7), QString("second"));
    QCOMPARE(queue.length(), 0);
}

void TestWatchDogFeed::readTakesTheTextUpToItsZeroByte_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    for (const WatchdogSample &sample : watchdogSamples())
        QTest::newRow(sample.name) << sample.textArea << sample.command;
    QTest::newRow("UTF-8") << QByteArray("Gr\xc3\xb6\xc3\x9f"
                                         "e")
                           << QString::fromUtf8("Größe");
    QTest::newRow("a zero byte first") << QByteArray("\0x", 2) << "";
    QTest::newRow("no byte at all") << QByteArray() << "";
}

void TestWatchDogFeed::readTakesTheTextUpToItsZeroByte()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    OpenChannel channel;
    WatchdogQueue queue;
    QVERIFY(queue.put(bytes));

    QCOMPARE(channel.read(0), text);

    QCOMPARE(queue.length(), 0);
}

void TestWatchDogFeed::readKeepsALongMessageInsideTheRecord_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("a full text area without zero byte") << QByteArray(512, 'x') << QString(512, 'x');
    QTest::newRow("one byte more") << QByteArray(513, 'x') << QString(512, 'x');
    QTest::newRow("all that is received, without zero byte") << QByteArray(8192, 'x') << QString(512, 'x');
    QTest::newRow("a zero byte behind the text area") << QByteArray(600, 'x') + '\0' << QString(512, 'x');
    QTest::newRow("a zero byte before what is too much")
        << QByteArray("short") + QByteArray(8187, '\0') << "short";
}

void TestWatchDogFeed::readKeepsALongMessageInsideTheRecord()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    OpenChannel channel;
    WatchdogQueue queue;
    QVERIFY(queue.put(bytes));

    QCOMPARE(channel.read(0), text);

    QCOMPARE(msqidOf(channel), queue.id());
    QCOMPARE(receiveTypeOf(channel), 0L);
    QVERIFY(queue.put("the next one", 9));
    QVERIFY(channel.read(0).startsWith("the next one"));
}

void TestWatchDogFeed::readLeavesAnOverlongMessageOnTheQueue()
{
    const SystemLimit limit("msgmax", receiveLimit + 1);
    OpenChannel channel;
    WatchdogQueue queue;
    QVERIFY(queue.put(QByteArray(receiveLimit + 1, 'x')));
    const DebugLines debug;

    QCOMPARE(channel.read(0), QString());

    QCOMPARE(queue.length(), 1);
    QCOMPARE(debug.lines(), QStringList());
}

void TestWatchDogFeed::readAndWriteShareTheRecord()
{
    OpenChannel channel;
    WatchdogQueue queue;
    QVERIFY(queue.put("from the watchdog"));

    channel.read(0);
    QCOMPARE(channel.write("back", 0), 0);

    QCOMPARE(queue.take(), areaWith(QByteArray("back\0the watchdog", 17)));
    QCOMPARE(queue.takenType(), 1L);
}

void TestWatchDogFeed::readWithTypeMinusOneTakesNothing()
{
    OpenChannel channel;
    WatchdogQueue queue;
    QVERIFY(queue.put("from the watchdog"));
    const DebugLines debug;

    errno = EACCES;
    const QString text = channel.read(-1);

    QCOMPARE(text, QString());
    QCOMPARE(debug.lines(), QStringList{QString("msgget failed with error: %1").arg(EACCES)});
    QCOMPARE(queue.length(), 1);
}

void TestWatchDogFeed::withoutAQueueTheErrorThatStandsIsReported_data()
{
    QTest::addColumn<bool>("isRead");
    QTest::addColumn<int>("type");

    QTest::newRow("write") << false << 0;
    QTest::newRow("write with type -1") << false << -1;
    QTest::newRow("read") << true << 0;
    QTest::newRow("read with type -1") << true << -1;
}

void TestWatchDogFeed::withoutAQueueTheErrorThatStandsIsReported()
{
    QFETCH(bool, isRead);
    QFETCH(int, type);
    const NoMoreQueues limit;
    OpenChannel channel;
    const DebugLines debug;

    errno = EACCES; // something else has failed since the queue could not be made
    if (isRead)
        QCOMPARE(channel.read(type), QString());
    else
        QCOMPARE(channel.write("syscmd_stop", type), -1);

    QCOMPARE(debug.lines(), QStringList{QString("msgget failed with error: %1").arg(EACCES)});
}

// --- The commands ---------------------------------------------------------------------------------------

void TestWatchDogFeed::everyCommandGoesOutByteForByte_data()
{
    const QMap<QByteArray, Send> senders = {
        {"suspension for 0 s", [](WatchDogFeed &feeder) { feeder.onSuspend(0); }},
        {"suspension for 600 s", [](WatchDogFeed &feeder) { feeder.onSuspend(600); }},
        {"longest suspension", [](WatchDogFeed &feeder) { feeder.onSuspend(4294967295U); }},
        {"stop", [](WatchDogFeed &feeder) { feeder.onStop(); }},
        {"stop after a suspension",
         [](WatchDogFeed &feeder) {
             feeder.onSuspend(600);
             feeder.onStop();
         }},
        {"resume", [](WatchDogFeed &feeder) { feeder.onResume(); }},
        {"restart", [](WatchDogFeed &feeder) { feeder.onRestartApp(); }},
    };
    QTest::addColumn<Send>("send");
    QTest::addColumn<QByteArray>("area");

    const QVector<WatchdogSample> samples = watchdogSamples();
    QCOMPARE(samples.size(), senders.size());
    for (const WatchdogSample &sample : samples) {
        QVERIFY2(senders.contains(sample.name), sample.name);
        QTest::newRow(sample.name) << senders.value(sample.name) << sample.textArea;
    }
}

void TestWatchDogFeed::everyCommandGoesOutByteForByte()
{
    QFETCH(Send, send);
    QFETCH(QByteArray, area);
    const WatchdogFile file;
    WatchdogQueue queue;
    WatchDogFeed feeder;

    send(feeder);

    QByteArray last;
    while (queue.length() > 0)
        last = queue.take();
    QCOMPARE(last, area);
    QCOMPARE(queue.takenType(), 1L);
    queue.remove();
}

void TestWatchDogFeed::theChannelIsOpenedOnce()
{
    WatchdogQueue queue;
    const DebugLines debug;

    WatchDogFeed feeder;
    feeder.onSuspend(600);
    feeder.onRestartApp();

    QCOMPARE(debug.lines(), QStringList{"key = -1"});
    QCOMPARE(takeSentCommands(), (QStringList{"syscmd_suspend@600", "syscmd_apprestart"}));
}

void TestWatchDogFeed::aQueueThatCouldNotBeOpenedIsTriedBeforeEveryCommand()
{
    const QString error = QString("msgget failed with error: %1").arg(ENOSPC);
    const DebugLines debug;
    QScopedPointer<NoMoreQueues> limit(new NoMoreQueues);

    WatchDogFeed feeder;
    feeder.onSuspend(600);
    feeder.onStop();
    limit.reset();
    feeder.onResume();
    feeder.onRestartApp();

    QCOMPARE(debug.lines(), (QStringList{"key = -1", "key = -1", error, "key = -1", error, "key = -1"}));
    QCOMPARE(takeSentCommands(), (QStringList{"syscmd_resume", "syscmd_apprestart"}));
}

void TestWatchDogFeed::aCommandForAFullQueueIsLost()
{
    WatchDogFeed feeder;
    WatchdogQueue queue;
    queue.fill();
    const DebugLines debug;

    feeder.onRestartApp();

    QCOMPARE(debug.lines(), QStringList{"msgsnd failed: "});
    QVERIFY(!takeSentCommands().contains("syscmd_apprestart"));
    feeder.onStop();
    QCOMPARE(takeSentCommands(), QStringList{"syscmd_stop"});
}

void TestWatchDogFeed::theChannelBelongsToTheFeeder()
{
    QObject parent;
    auto *feeder = new WatchDogFeed(&parent);

    QCOMPARE(feeder->parent(), &parent);
    QCOMPARE(messengerOf(*feeder)->parent(), feeder);
    QCOMPARE(feeder->metaObject()->className(), "WatchDogFeed");
    QCOMPARE(feeder->metaObject()->methodCount(), QObject::staticMetaObject.methodCount());
}

void TestWatchDogFeed::theWindowForwardsItsCommands()
{
    FakePrograms programs;
    programs.add("df");
    WatchdogQueue queue;
    Widget window;

    window.feed_dog_suspend(0);
    window.feed_dog_suspend(4294967295U);
    window.feed_dog_stop();
    window.app_restart();

    QCOMPARE(takeSentCommands(), (QStringList{"syscmd_suspend@0", "syscmd_suspend@4294967295", "syscmd_stop",
                                              "syscmd_apprestart"}));
}

SANDBOXED_TEST_MAIN(TestWatchDogFeed)
#include "tst_watchdogfeed.moc"
