#include "demo/VendorAnswerWriter.h"

#include <QSslSocket>

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <limits>

namespace
{

constexpr qint64 BlockSize = qint64(256) * 1024;
constexpr qint64 UnsentLimit = qint64(1024) * 1024;
constexpr int BlocksInOneGo = 16; // then the other connections have their turn

const QByteArray &fillerBlock()
{
    static const QByteArray block(BlockSize, '.');
    return block;
}

QByteArray reason(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 307:
        return "Temporary Redirect";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

// What the peer's system has not confirmed yet. A reset could overtake it.
bool hasUnconfirmedBytes(const QSslSocket &socket)
{
    int count = 0;
    return ioctl(static_cast<int>(socket.socketDescriptor()), SIOCOUTQ, &count) == 0 && count > 0;
}

void resetConnection(QSslSocket &socket)
{
    const linger noGoodbye = {1, 0};
    setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &noGoodbye, sizeof noGoodbye);
    socket.abort();
}

} // namespace

VendorAnswerWriter::VendorAnswerWriter(QSslSocket &socket, const VendorAnswer &answer, bool keepAlive,
                                       VendorSteps &steps)
    : m_socket(socket), m_answer(answer), m_keepAlive(keepAlive), m_steps(steps)
{
    m_answer.pieces.removeIf([](qsizetype size) { return size <= 0; }); // an empty chunk would end the body
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &VendorAnswerWriter::timeOut);
    connect(&m_socket, &QSslSocket::encryptedBytesWritten, this, &VendorAnswerWriter::proceed);
}

void VendorAnswerWriter::stop()
{
    m_wait = Wait::Over;
    m_timer.stop();
}

bool VendorAnswerWriter::step()
{
    if (m_wait != Wait::Step) {
        return false;
    }
    m_wait = Wait::Nothing;
    proceed();
    return true;
}

void VendorAnswerWriter::proceed()
{
    if (m_proceeding) { // writing may report bytes written at once
        return;
    }
    m_proceeding = true;
    int sent = 0;
    while (sent < BlocksInOneGo && sendNext()) {
        ++sent;
    }
    m_proceeding = false;
    if (sent == BlocksInOneGo) {
        QMetaObject::invokeMethod(this, &VendorAnswerWriter::proceed, Qt::QueuedConnection);
    }
}

// Does the next thing there is to do; false when it is not its time or nothing is left.
bool VendorAnswerWriter::sendNext()
{
    if (m_wait != Wait::Nothing || unsent() >= UnsentLimit) {
        return false;
    }
    if (m_answer.stallAfter == m_sent) {
        m_answer.stallAfter.reset();
        return takeStep();
    }
    if (m_answer.resetAfter == m_sent) {
        resetWhenDelivered();
    } else if (m_sent < 0) {
        sendHead();
    } else if (m_sent == total()) {
        finish();
    } else if (m_sent < m_pieceEnd) {
        sendBlock();
    } else if (mayBeginPiece()) {
        beginPiece();
    }
    return m_wait == Wait::Nothing;
}

bool VendorAnswerWriter::takeStep()
{
    const bool taken = m_steps.take();
    m_wait = taken ? Wait::Nothing : Wait::Step;
    return taken;
}

bool VendorAnswerWriter::mayBeginPiece()
{
    if (m_heldAt == m_sent) {
        return true;
    }
    m_heldAt = m_sent;
    if (m_answer.stepped) {
        return takeStep();
    }
    if (m_answer.pauseMs > 0) {
        waitFor(Wait::Pause, m_answer.pauseMs);
        return false;
    }
    return true;
}

void VendorAnswerWriter::beginPiece()
{
    m_pieceStart = m_sent;
    m_pieceEnd = total();
    if (!m_answer.pieces.isEmpty()) {
        m_pieceEnd = std::min<qint64>(m_pieceEnd, m_sent + m_answer.pieces.takeFirst());
    }
}

void VendorAnswerWriter::sendHead()
{
    m_sent = 0;
    send(head());
}

void VendorAnswerWriter::sendBlock()
{
    const qint64 size =
        std::min({BlockSize, m_pieceEnd - m_sent, untilFault(m_answer.stallAfter), untilFault(m_answer.resetAfter)});
    QByteArray bytes = bodyBytes(size);
    if (m_answer.length == VendorAnswer::Length::Chunked && m_sent == m_pieceStart) {
        bytes.prepend(QByteArray::number(m_pieceEnd - m_pieceStart, 16) + "\r\n");
    }
    m_sent += size;
    if (m_answer.length == VendorAnswer::Length::Chunked && m_sent == m_pieceEnd) {
        bytes += "\r\n";
    }
    send(bytes);
}

void VendorAnswerWriter::finish()
{
    if (m_answer.length == VendorAnswer::Length::Chunked) {
        send("0\r\n\r\n");
    }
    if (m_wait == Wait::Over) { // the client went meanwhile
        return;
    }
    stop();
    Q_EMIT finished(m_keepAlive && !endsEarly() && m_answer.length != VendorAnswer::Length::Absent);
}

void VendorAnswerWriter::resetWhenDelivered()
{
    if (unsent() > 0 || hasUnconfirmedBytes(m_socket)) {
        waitFor(Wait::Delivery, 1); // no event tells of the confirmation
        return;
    }
    stop();
    resetConnection(m_socket);
}

void VendorAnswerWriter::waitFor(Wait wait, int milliseconds)
{
    m_wait = wait;
    m_timer.start(milliseconds);
}

void VendorAnswerWriter::timeOut()
{
    m_wait = Wait::Nothing;
    proceed();
}

QByteArray VendorAnswerWriter::head() const
{
    QByteArray text = "HTTP/1.1 " + QByteArray::number(m_answer.status) + ' ' + reason(m_answer.status) + "\r\n";
    if (!m_answer.contentType.isEmpty()) {
        text += "Content-Type: " + m_answer.contentType + "\r\n";
    }
    if (m_answer.length == VendorAnswer::Length::Exact) {
        text += "Content-Length: " + QByteArray::number(m_answer.announcedLength.value_or(total())) + "\r\n";
    } else if (m_answer.length == VendorAnswer::Length::Chunked) {
        text += "Transfer-Encoding: chunked\r\n";
    }
    if (!m_keepAlive || m_answer.length == VendorAnswer::Length::Absent) {
        text += "Connection: close\r\n";
    }
    for (const auto &[name, value] : m_answer.headers) {
        text += name + ": " + value + "\r\n";
    }
    return text + "\r\n";
}

// The next bytes: a whole block of filler is shared, never copied.
QByteArray VendorAnswerWriter::bodyBytes(qint64 size) const
{
    const qint64 left = std::max<qint64>(0, m_answer.body.size() - m_sent);
    if (left >= size) {
        return m_answer.body.mid(m_sent, size);
    }
    return left > 0 ? m_answer.body.mid(m_sent) + fillerBlock().left(size - left) : fillerBlock().left(size);
}

qint64 VendorAnswerWriter::untilFault(const std::optional<qint64> &fault) const
{
    return fault && *fault > m_sent ? *fault - m_sent : std::numeric_limits<qint64>::max();
}

qint64 VendorAnswerWriter::total() const
{
    return m_answer.body.size() + m_answer.filler;
}

bool VendorAnswerWriter::endsEarly() const
{
    return m_answer.length == VendorAnswer::Length::Exact && m_answer.announcedLength.value_or(0) > total();
}

qint64 VendorAnswerWriter::unsent() const
{
    return m_socket.bytesToWrite() + m_socket.encryptedBytesToWrite();
}

// Flushed at once, so that what is sent together makes a TLS record together, and nothing else joins it.
void VendorAnswerWriter::send(const QByteArray &bytes)
{
    m_socket.write(bytes);
    m_socket.flush();
}
