#pragma once

#include "demo/VendorAnswerWriter.h"
#include "demo/VendorRequestReader.h"

#include <QObject>
#include <QSslConfiguration>
#include <QSslSocket>

#include <functional>

// One client: its requests are answered one after another. It deletes itself when the client has gone.
class VendorConnection : public QObject
{
    Q_OBJECT

public:
    using Answering = std::function<VendorAnswer(const VendorRequest &)>;

    VendorConnection(const Answering &answering, VendorSteps &steps, QObject *parent);
    ~VendorConnection() override;

    void open(qintptr descriptor, const QSslConfiguration &configuration);
    bool step() { return m_writer && m_writer->step(); } // false when its answer waits for none

Q_SIGNALS:
    void encrypted();

private:
    void receive();
    void answerNext();
    void answer(const VendorAnswer &answer, bool keepAlive);
    void finish(bool keepAlive);
    void dropWriter();
    void leave();

    const Answering m_answering;
    VendorSteps &m_steps;
    VendorRequestReader m_reader;
    QSslSocket m_socket;
    std::unique_ptr<VendorAnswerWriter> m_writer;
};
