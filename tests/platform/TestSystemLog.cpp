#include "platform/SystemLog.h"

#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
// The system's end of the log.
class LogSocket
{
public:
    explicit LogSocket(const QByteArray &path) : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0))
    {
        sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
        std::memcpy(address.sun_path, path.constData(), std::min(size_t(path.size()), sizeof(address.sun_path) - 1));
        m_isBound = ::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    }
    ~LogSocket() { ::close(m_socket); }
    Q_DISABLE_COPY_MOVE(LogSocket)

    bool isBound() const { return m_isBound; }
    QByteArray receive() const
    {
        QByteArray record(100000, '\0');
        const ssize_t size = ::recv(m_socket, record.data(), size_t(record.size()), 0);
        return record.first(std::max<ssize_t>(size, 0));
    }

private:
    const int m_socket;
    bool m_isBound = false;
};

// A device folder with the few things that programs need and our socket as its log.
const QString ownLog = uR"(
mkdir "$1/devices"
mount --rbind /dev "$1/devices"
mount -t tmpfs none /dev
for device in null zero full random urandom; do
    : >/dev/$device
    mount --bind "$1/devices/$device" /dev/$device
done
ln -s "$1/log" /dev/log
)"_s;
} // namespace

class TestSystemLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLineGoesToTheSystemLogAsTheInstallers();
    void theBareLineGoesToStandardError_data();
    void theBareLineGoesToStandardError();
    void linesOfManyThreadsStayWhole();
};

void TestSystemLog::aLineGoesToTheSystemLogAsTheInstallers()
{
    if (Rerun::isRerun()) {
        SystemLog::write(u"first: 100% %s %n ü"_s);
        SystemLog::write(u"second"_s);
        return;
    }
    if (!Rerun::canMount())
        QSKIP("the kernel refuses this process mounts of its own");
    const QTemporaryDir folder;
    const LogSocket socket(folder.filePath(u"log"_s).toLocal8Bit());
    QVERIFY(socket.isBound());
    Rerun::verifyPasses(Rerun::withMounts(ownLog, folder.path()), {});

    // <13>: a notice of the user's programs.
    const QRegularExpression record(uR"(^<13>\w+ +\d+ [\d:]+ wayfar-installer\[\d+\]: (.*)$)"_s);
    QCOMPARE(record.match(QString::fromUtf8(socket.receive())).captured(1), u"first: 100% %s %n ü"_s);
    QCOMPARE(record.match(QString::fromUtf8(socket.receive())).captured(1), u"second"_s);
    QCOMPARE(socket.receive(), "");
}

void TestSystemLog::theBareLineGoesToStandardError_data()
{
    QTest::addColumn<QString>("line");

    QTest::newRow("plain") << u"Login started"_s;
    QTest::newRow("two lines") << u"Unable to find or create application support directory:\n/x: File exists"_s;
    QTest::newRow("no format") << u"100% %s %n %@"_s;
    QTest::newRow("any letter") << u"ü α 💾"_s;
    QTest::newRow("long") << QString(20000, u'x');
    QTest::newRow("empty") << u""_s;
}

void TestSystemLog::theBareLineGoesToStandardError()
{
    QFETCH(const QString, line);
    QCOMPARE(standardErrorOf([&] { SystemLog::write(line); }), line.toUtf8() + '\n');
}

void TestSystemLog::linesOfManyThreadsStayWhole()
{
    const QByteArray log = standardErrorOf([] {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([thread] {
                for (int i = 0; i < 50; ++i)
                    SystemLog::write(QString(100, QChar(u'a' + thread)));
            });
        }
    });
    const QList<QByteArray> lines = log.split('\n');
    QCOMPARE(lines.size(), 201);
    for (const QByteArray &line : lines.first(200))
        QCOMPARE(line, QByteArray(100, line.at(0)));
}

QTEST_GUILESS_MAIN(TestSystemLog)
#include "TestSystemLog.moc"
