// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef TARGET_H
#define TARGET_H

#include <QByteArray>
#include <QString>

/// What each target defines: takes one input, any bytes, and calls violated() when something does not hold
/// that always must. What it does depends on the input alone, or a finding could not be replayed. Called on
/// the main thread, in a sandbox, behind the guard, and with a QApplication.
void fuzz(const QByteArray &input);

/// Adds to what the input has come to, in words; violated() prints it, and so does ZUL_FUZZ_STEPS in the
/// environment at once, for an input that ends the process in another way.
void note(const QString &step);

/// Prints what does not hold and ends the process, which makes the input a finding.
[[noreturn]] void violated(const QString &what);

/// Requires what always must hold; `what` is made only when it does not.
#define MUST(condition, what)                                                                                \
    do {                                                                                                     \
        if (!(condition))                                                                                    \
            violated(what);                                                                                  \
    } while (false)

/// An input taken apart from its front. Beyond the end everything is zero or empty.
class Input
{
public:
    explicit Input(const QByteArray &itsBytes)
        : bytes(itsBytes)
    {
    }

    bool isEmpty() const
    {
        return at >= bytes.size();
    }

    quint8 byte()
    {
        return isEmpty() ? quint8(0) : static_cast<quint8>(bytes.at(at++));
    }

    /// Two bytes, low one first.
    quint16 word()
    {
        const quint8 low = byte();
        return static_cast<quint16>(byte() << 8 | low);
    }

    /// Fewer where the input ends.
    QByteArray take(int count)
    {
        const QByteArray taken = bytes.mid(at, count);
        at += taken.size();
        return taken;
    }

    QByteArray rest()
    {
        return take(bytes.size() - at);
    }

private:
    QByteArray bytes;
    int at = 0;
};

#endif
