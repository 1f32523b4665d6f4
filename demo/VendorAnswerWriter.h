#pragma once

#include "demo/VendorServer.h"

#include <QObject>
#include <QTimer>

class QSslSocket;

// Steps that came before an answer waited for one.
struct VendorSteps {
    int remembered = 0;

    bool take() { return remembered > 0 && remembered-- > 0; }
};

// Sends one answer with its faults. It hands the socket little at a time, so that a slow reader costs no memory.
class VendorAnswerWriter : public QObject
{
    Q_OBJECT

public:
    VendorAnswerWriter(QSslSocket &socket, const VendorAnswer &answer, bool keepAlive, VendorSteps &steps);

    void start() { proceed(); }
    void stop(); // nothing is sent any more, nor anything signalled
    bool step(); // false when the answer waits for none

Q_SIGNALS:
    void finished(bool keepAlive); // not after a reset

private:
    enum class Wait { Nothing, Pause, Step, Delivery, Over };

    void proceed();
    bool sendNext();
    bool takeStep();
    bool mayBeginPiece();
    void beginPiece();
    void sendHead();
    void sendBlock();
    void finish();
    void resetWhenDelivered();
    void waitFor(Wait wait, int milliseconds);
    void timeOut();
    QByteArray head() const;
    QByteArray bodyBytes(qint64 size) const;
    qint64 untilFault(const std::optional<qint64> &fault) const;
    qint64 total() const;
    bool endsEarly() const;
    qint64 unsent() const;
    void send(const QByteArray &bytes);

    QSslSocket &m_socket;
    VendorAnswer m_answer;
    const bool m_keepAlive;
    VendorSteps &m_steps;
    QTimer m_timer;
    Wait m_wait = Wait::Nothing;
    bool m_proceeding = false;
    qint64 m_sent = -1; // body bytes; -1 before the head, as the faults count
    qint64 m_pieceStart = 0;
    qint64 m_pieceEnd = 0;
    qint64 m_heldAt = 0; // where the last piece that had to wait begins
};
