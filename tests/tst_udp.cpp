// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/sandboxed.h"

#include "udp.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

using OpenDescriptor = int (*)();
Q_DECLARE_METATYPE(OpenDescriptor)

namespace
{

constexpr int receiveLimitMs = 5000;

int openDatagramSocket()
{
    return socket(AF_INET, SOCK_DGRAM, 0);
}

int openNothing()
{
    return -1;
}

int openDevNull()
{
    return open("/dev/null", O_RDWR);
}

int openTerminal()
{
    return posix_openpt(O_RDWR | O_NOCTTY);
}

int openPipe()
{
    int ends[2];
    if (pipe(ends) == -1)
        return -1;
    close(ends[1]);
    return ends[0];
}

/// The network of the sandbox is its own and starts without a way even to itself.
bool startLoopback()
{
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const int any = openDatagramSocket();
    const bool started = ioctl(any, SIOCSIFFLAGS, &request) == 0;
    close(any);
    return started;
}

} // namespace

/// The class sends through descriptor 0 whatever that is, so each test decides what it is.
class TestUdp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void sendsAllBytesAsOneDatagram_data();
    void sendsAllBytesAsOneDatagram();
    void sendsEachCallAsADatagramOfItsOwn();
    void sendsToTheGivenAddressOnly();
    void leavesTheCallersBytesAlone();
    void reportsThatDescriptorZeroIsNoSocket_data();
    void reportsThatDescriptorZeroIsNoSocket();
    void reportsADatagramThatIsTooLong();

private:
    void makeDescriptorZero(int descriptor);
    bool isDatagramWaiting(int limitMs);
    QByteArray receive();

    int standardInput = -1;
    int receiver = -1;
    sockaddr_in address{};
};

void TestUdp::initTestCase()
{
    QVERIFY2(startLoopback(), std::strerror(errno));
}

void TestUdp::init()
{
    standardInput = dup(STDIN_FILENO);

    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    receiver = openDatagramSocket();
    QCOMPARE(bind(receiver, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    socklen_t size = sizeof address;
    QCOMPARE(getsockname(receiver, reinterpret_cast<sockaddr *>(&address), &size), 0);
}

void TestUdp::cleanup()
{
    close(receiver);
    dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

void TestUdp::makeDescriptorZero(int descriptor)
{
    close(STDIN_FILENO);
    if (descriptor == -1)
        return;
    QCOMPARE(dup2(descriptor, STDIN_FILENO), STDIN_FILENO);
    if (descriptor != STDIN_FILENO)
        close(descriptor);
}

bool TestUdp::isDatagramWaiting(int limitMs)
{
    pollfd waiting = {receiver, POLLIN, 0};
    return poll(&waiting, 1, limitMs) == 1;
}

QByteArray TestUdp::receive()
{
    if (!isDatagramWaiting(receiveLimitMs))
        return "nothing was received";
    QByteArray datagram(65536, 'x');
    const ssize_t size = recv(receiver, datagram.data(), static_cast<size_t>(datagram.size()), 0);
    return datagram.left(static_cast<int>(size));
}

void TestUdp::sendsAllBytesAsOneDatagram_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("a text") << QByteArray("syscmd_stop");
    QTest::newRow("no byte at all") << QByteArray("");
    QTest::newRow("a null byte array") << QByteArray();
    QTest::newRow("zero bytes inside") << QByteArray("a\0b\0", 4);
    QTest::newRow("bytes above 127") << QByteArray("\xff\xfe\x80");
    QTest::newRow("the longest datagram") << QByteArray(65507, 'l');
}

void TestUdp::sendsAllBytesAsOneDatagram()
{
    QFETCH(QByteArray, bytes);
    makeDescriptorZero(openDatagramSocket());

    QVERIFY(Udp().send_date(bytes, address));

    QCOMPARE(receive(), bytes);
    QVERIFY(!isDatagramWaiting(0));
}

void TestUdp::sendsEachCallAsADatagramOfItsOwn()
{
    makeDescriptorZero(openDatagramSocket());
    Udp udp;

    QVERIFY(udp.send_date("first", address));
    QVERIFY(udp.send_date("second", address));

    QCOMPARE(receive(), QByteArray("first"));
    QCOMPARE(receive(), QByteArray("second"));
}

void TestUdp::sendsToTheGivenAddressOnly()
{
    makeDescriptorZero(openDatagramSocket());
    sockaddr_in other = address;
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);

    QVERIFY(Udp().send_date("elsewhere", other));
    QVERIFY(Udp().send_date("here", address));

    QCOMPARE(receive(), QByteArray("here"));
    QVERIFY(!isDatagramWaiting(0));
}

void TestUdp::leavesTheCallersBytesAlone()
{
    makeDescriptorZero(openDatagramSocket());
    const QByteArray bytes = "shared";
    const char *before = bytes.constData();

    QVERIFY(Udp().send_date(bytes, address));

    QCOMPARE(bytes, QByteArray("shared"));
    QCOMPARE(static_cast<const void *>(bytes.constData()), static_cast<const void *>(before));
}

void TestUdp::reportsThatDescriptorZeroIsNoSocket_data()
{
    QTest::addColumn<OpenDescriptor>("openDescriptor");
    QTest::addColumn<int>("error");

    QTest::newRow("closed") << OpenDescriptor(openNothing) << EBADF;
    QTest::newRow("/dev/null") << OpenDescriptor(openDevNull) << ENOTSOCK;
    QTest::newRow("a terminal") << OpenDescriptor(openTerminal) << ENOTSOCK;
    QTest::newRow("a pipe") << OpenDescriptor(openPipe) << ENOTSOCK;
}

void TestUdp::reportsThatDescriptorZeroIsNoSocket()
{
    QFETCH(OpenDescriptor, openDescriptor);
    QFETCH(int, error);
    makeDescriptorZero(openDescriptor());

    errno = 0;
    const bool sent = Udp().send_date("syscmd_stop", address);
    const int errorLeft = errno;

    QVERIFY(!sent);
    QCOMPARE(errorLeft, error);
    QVERIFY(!isDatagramWaiting(0));
}

void TestUdp::reportsADatagramThatIsTooLong()
{
    makeDescriptorZero(openDatagramSocket());

    QVERIFY(!Udp().send_date(QByteArray(65508, 'l'), address));
    QCOMPARE(errno, EMSGSIZE);
    QVERIFY(!isDatagramWaiting(0));
}

SANDBOXED_TEST_MAIN(TestUdp)
#include "tst_udp.moc"
