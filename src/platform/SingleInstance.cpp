#include "platform/SingleInstance.h"

#include "platform/SystemLog.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QFile>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
bool tellRunning(const QString &socket)
{
    QLocalSocket running;
    running.connectToServer(socket); // the connection itself is the message
    return running.waitForConnected(1000);
}
} // namespace

SingleInstance::SingleInstance()
    : SingleInstance(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation),
                     QCoreApplication::applicationFilePath())
{
}

SingleInstance::SingleInstance(const QString &folder, const QString &key)
{
    if (folder.isEmpty()) { // without a folder two starts can't find each other
        m_first = true;
        return;
    }
    const QByteArray hash = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256).toHex().first(16);
    const QString name = folder + u"/wayfar-installer-"_s + QString::fromLatin1(hash);
    // The other one may not listen yet, where both come from one double click, or it may be ending just now.
    const QDeadlineTimer limit(3s);
    m_first = takeLock(name + u".lock"_s);
    while (!m_first && !tellRunning(name + u".socket"_s) && !limit.hasExpired()) {
        QThread::msleep(20);
        m_first = takeLock(name + u".lock"_s);
    }
    if (m_first)
        listen(name + u".socket"_s);
}

SingleInstance::~SingleInstance()
{
    release();
}

void SingleInstance::release()
{
    m_server.close();
    if (m_lock >= 0)
        ::close(std::exchange(m_lock, -1));
}

// Where no lock file can be made, the program starts all the same.
bool SingleInstance::takeLock(const QString &file)
{
    if (m_lock < 0)
        m_lock = ::open(QFile::encodeName(file).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    return m_lock < 0 || ::flock(m_lock, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

void SingleInstance::listen(const QString &socket)
{
    QLocalServer::removeServer(socket); // left by a killed program: the lock is ours
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        m_server.nextPendingConnection()->deleteLater();
        Q_EMIT anotherStarted();
    });
    if (!m_server.listen(socket))
        SystemLog::write(u"A second start can't call this one: "_s + m_server.errorString());
}
