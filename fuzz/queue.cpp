// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Records of the watchdog's queue through MyMessageType, to and from a real queue of the sandbox's: bytes of
// any length and any text, in any order. Beside it a model of the record: what arrives or is written stands
// at its front, whatever is behind that stays, and nothing outside it changes.
//
// libfuzzer: -max_len=512 -len_control=20

#include "common/target.h"

#include "debuglines.h"
#include "privatemember.h"
#include "support/watchdogqueue.h"
#include "watchdogfeed.h"

#include <QFile>
#include <QVector>

#include <array>
#include <cstring>
#include <memory>

PRIVATE_MEMBER(MyMessageType, WatchdogMessage, message)
PRIVATE_MEMBER(MyMessageType, int, msqid)
PRIVATE_MEMBER(MyMessageType, long, receiveType)

namespace
{

constexpr int textSize = 512;
constexpr int receiveLimit = 8192;
constexpr int longestRecord = 12000;
constexpr int longestText = 1500;
constexpr int queueBytes = 40000;
constexpr int mostSteps = 64;

void setLimit(const char *name, int value)
{
    QFile file(QString("/proc/sys/kernel/%1").arg(QLatin1String(name)));
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray::number(value)) < 0 || !file.flush())
        qFatal("the sandbox does not let its own queues be longer");
}

/// `unit` over and over.
QByteArray repeated(const QByteArray &unit, int length)
{
    return unit.isEmpty() ? QByteArray(length, 'x') : unit.repeated(length / unit.size() + 1).left(length);
}

struct Record {
    long type;
    QByteArray bytes;
};

/// The channel with something on either side that nobody is to touch.
struct Placed {
    Placed()
    {
        before.fill(0xa5);
        after.fill(0x5a);
    }

    std::array<unsigned char, 256> before;
    MyMessageType channel;
    std::array<unsigned char, 256> after;
};

class Course
{
public:
    Course()
    {
        placed->channel.createMessageId(watchdogQueueId);
        id = msqidOf(placed->channel);
        peer.reset(new WatchdogQueue(-1));
        MUST(peer->id() == id, "the channel has another queue");
    }

    ~Course()
    {
        peer->remove();
    }

    void step(Input &input)
    {
        switch (input.byte() % 8) {
        case 0:
        case 1:
            arrives(input);
            break;
        case 2:
        case 3:
            read();
            break;
        case 4:
        case 5:
            write(input);
            break;
        case 6:
            refuse();
            break;
        default:
            isTaken();
        }
        compareRecord();
    }

private:
    void arrives(Input &input)
    {
        const long its = 1 + input.word();
        const int length = input.word() % (longestRecord + 1);
        const QByteArray content = repeated(input.take(input.byte()), length);
        const bool fits = fitsQueue(length);
        MUST(peer->put(content, its) == fits, "the model of the queue's room is wrong");
        if (fits)
            waiting.append({its, content});
    }

    void read()
    {
        const QString text = placed->channel.read(0);
        // A record over the limit stays where it is, and in the way.
        if (waiting.isEmpty() || waiting.first().bytes.size() > receiveLimit) {
            MUST(text.isEmpty(), "a text although nothing can be received");
            return;
        }
        const Record record = waiting.takeFirst();
        type = record.type;
        const QByteArray kept = record.bytes.left(textSize);
        bytes.replace(0, kept.size(), kept);
        const int end = bytes.indexOf('\0');
        MUST(text == QString::fromUtf8(end < 0 ? bytes : bytes.left(end)),
             QString("read() gives \"%1\"").arg(text));
    }

    void write(Input &input)
    {
        const int length = input.word() % (longestText + 1);
        const bool asUtf8 = input.byte() % 2;
        const QByteArray unit = input.take(input.byte());
        const QByteArray raw = repeated(unit, length * (asUtf8 ? 1 : 2));
        // Half a surrogate pair too.
        const QString text = asUtf8
                                 ? QString::fromUtf8(raw)
                                 : QString(reinterpret_cast<const QChar *>(raw.constData()), raw.size() / 2);

        QByteArray sent = text.toUtf8().left(textSize - 1);
        sent.append('\0');
        type = 1;
        bytes.replace(0, sent.size(), sent);
        const bool fits = fitsQueue(textSize);
        MUST(placed->channel.write(text, input.byte()) == (fits ? 0 : -1), "write() says the wrong thing");
        if (fits)
            waiting.append({1, bytes});
    }

    void refuse()
    {
        const DebugLines lines;
        MUST(placed->channel.write("syscmd_stop", -1) == -1, "type -1 is written");
        MUST(placed->channel.read(-1).isEmpty(), "type -1 is read");
        MUST(lines.lines().filter("msgget failed with error: ").size() == 2, "a refusal is not told");
    }

    /// The other side takes one, so that what was sent shows whole.
    void isTaken()
    {
        MUST(peer->length() == waiting.size(), "more or fewer records than the model has");
        if (waiting.isEmpty())
            return;
        const Record record = waiting.takeFirst();
        MUST(peer->take() == record.bytes, "other bytes than the model's are in the queue");
        MUST(peer->takenType() == record.type, "another type than the model's is in the queue");
    }

    bool fitsQueue(int length) const
    {
        int held = length;
        for (const Record &record : waiting)
            held += record.bytes.size();
        return held <= queueBytes;
    }

    void compareRecord()
    {
        const WatchdogMessage &record = messageOf(placed->channel);
        MUST(record.mtype == type, "the record has another type");
        MUST(QByteArray::fromRawData(record.mtext, textSize) == bytes, "the record has other bytes");
        MUST(msqidOf(placed->channel) == id, "the queue's id behind the record has changed");
        MUST(receiveTypeOf(placed->channel) == 0, "the type asked for has changed");
        for (const unsigned char byte : placed->before)
            MUST(byte == 0xa5, "written before the channel");
        for (const unsigned char byte : placed->after)
            MUST(byte == 0x5a, "written behind the channel");
    }

    // On the heap, where the address sanitizer guards both ends.
    const std::unique_ptr<Placed> placed{new Placed};
    std::unique_ptr<WatchdogQueue> peer;
    int id = -1;
    QVector<Record> waiting;
    long type = 0;
    QByteArray bytes{textSize, '\0'};
};

} // namespace

void fuzz(const QByteArray &input)
{
    static const bool prepared = [] {
        static_assert(sizeof(WatchdogMessage::mtext) == textSize, "the record as both sides know it");
        setLimit("msgmax", longestRecord);
        setLimit("msgmnb", queueBytes);
        return true;
    }();
    Q_UNUSED(prepared)

    Input rest(input);
    Course course;
    for (int i = 0; i < mostSteps && !rest.isEmpty(); ++i)
        course.step(rest);
}
