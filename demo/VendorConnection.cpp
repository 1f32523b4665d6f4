#include "demo/VendorConnection.h"

namespace
{

bool asksToClose(const VendorRequest &request)
{
    return request.header("Connection").value_or(QByteArray()).compare("close", Qt::CaseInsensitive) == 0;
}

VendorAnswer badRequest()
{
    VendorAnswer answer;
    answer.status = 400;
    answer.body = "Bad request";
    return answer;
}

} // namespace

VendorConnection::VendorConnection(const Answering &answering, VendorSteps &steps, QObject *parent)
    : QObject(parent), m_answering(answering), m_steps(steps)
{
    connect(&m_socket, &QSslSocket::encrypted, this, &VendorConnection::encrypted);
    connect(&m_socket, &QSslSocket::readyRead, this, &VendorConnection::receive);
    connect(&m_socket, &QSslSocket::disconnected, this, &VendorConnection::leave);
    connect(&m_socket, &QSslSocket::errorOccurred, this, &VendorConnection::leave);
}

VendorConnection::~VendorConnection()
{
    m_socket.disconnect(this);
    m_writer.reset();
    m_socket.abort();
}

void VendorConnection::open(qintptr descriptor, const QSslConfiguration &configuration)
{
    if (!m_socket.setSocketDescriptor(descriptor)) {
        leave();
        return;
    }
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1); // pieces must not wait for each other's confirmation
    m_socket.setSslConfiguration(configuration);
    m_socket.startServerEncryption();
}

void VendorConnection::receive()
{
    m_reader.add(m_socket.readAll());
    answerNext();
}

void VendorConnection::answerNext()
{
    if (m_writer || m_socket.state() != QAbstractSocket::ConnectedState) {
        return;
    }
    if (const auto request = m_reader.next()) {
        answer(m_answering(*request), !asksToClose(*request));
    } else if (m_reader.isMalformed()) {
        answer(badRequest(), false);
    }
}

void VendorConnection::answer(const VendorAnswer &answer, bool keepAlive)
{
    m_writer = std::make_unique<VendorAnswerWriter>(m_socket, answer, keepAlive, m_steps);
    connect(m_writer.get(), &VendorAnswerWriter::finished, this, &VendorConnection::finish);
    m_writer->start();
}

void VendorConnection::finish(bool keepAlive)
{
    dropWriter();
    if (keepAlive) {
        answerNext();
    } else {
        m_socket.disconnectFromHost();
    }
}

// Later, because it may be the writer that is calling.
void VendorConnection::dropWriter()
{
    if (m_writer) {
        m_writer->stop();
        m_writer.release()->deleteLater();
    }
}

void VendorConnection::leave()
{
    dropWriter();
    deleteLater();
}
