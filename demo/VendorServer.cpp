#include "demo/VendorServer.h"

#include "demo/TestCertificates.h"
#include "demo/VendorConnection.h"
#include "demo/VendorRequestLog.h"
#include "demo/VendorRoutes.h"

#include <QTcpServer>
#include <QThread>

#include <atomic>

using namespace Qt::StringLiterals;

namespace
{

// Lives in the worker's thread, with every connection.
class Listener : public QTcpServer
{
public:
    Listener(const QSslConfiguration &configuration, const VendorConnection::Answering &answering,
             const std::function<void()> &onEncrypted)
        : m_configuration(configuration), m_answering(answering), m_onEncrypted(onEncrypted)
    {
    }
    ~Listener() override { qDeleteAll(connections()); } // they use the members, which go before the children

    void step();
    void forgetSteps() { m_steps.remembered = 0; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    QList<VendorConnection *> connections() const
    {
        return findChildren<VendorConnection *>(QString(), Qt::FindDirectChildrenOnly);
    }

    const QSslConfiguration m_configuration;
    const VendorConnection::Answering m_answering;
    const std::function<void()> m_onEncrypted;
    VendorSteps m_steps;
};

void Listener::step()
{
    bool isTaken = false;
    for (VendorConnection *const connection : connections()) {
        isTaken = connection->step() || isTaken;
    }
    if (!isTaken) {
        ++m_steps.remembered;
    }
}

void Listener::incomingConnection(qintptr descriptor)
{
    auto *const connection = new VendorConnection(m_answering, m_steps, this);
    connect(connection, &VendorConnection::encrypted, this, m_onEncrypted);
    connection->open(descriptor, m_configuration);
}

} // namespace

struct VendorServer::State {
    explicit State(const Options &options)
        : names(options.names),
          certificates({.names = options.names, .expired = options.expired, .trusted = options.trusted})
    {
    }

    const QStringList names;
    const TestCertificates certificates;
    VendorRoutes routes;
    VendorRequestLog log;
    std::atomic<int> connections = 0;
};

class VendorServer::Worker
{
public:
    Worker(const std::shared_ptr<State> &state, quint16 port);
    ~Worker();

    quint16 port() const { return m_port; }
    template<typename Task> void post(const Task &task)
    {
        QMetaObject::invokeMethod(
            m_listener, [listener = m_listener, task] { task(*listener); }, Qt::QueuedConnection);
    }

private:
    void listen(quint16 port);

    QThread m_thread;
    Listener *m_listener; // deleted by its thread
    quint16 m_port = 0;
};

VendorServer::Worker::Worker(const std::shared_ptr<State> &state, quint16 port)
{
    const auto answering = [state](const VendorRequest &request) {
        state->log.add(request);
        return state->routes.answerTo(request);
    };
    m_listener = new Listener(state->certificates.serverConfiguration(), answering, [state] { ++state->connections; });
    m_listener->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_listener, &QObject::deleteLater);
    m_thread.setObjectName(u"VendorServer"_s);
    m_thread.start();
    QMetaObject::invokeMethod(
        m_listener, [this, port] { listen(port); }, Qt::BlockingQueuedConnection);
}

VendorServer::Worker::~Worker()
{
    m_thread.quit();
    m_thread.wait();
}

void VendorServer::Worker::listen(quint16 port)
{
    if (!m_listener->listen(QHostAddress::LocalHost, port)) {
        qFatal("The vendor stand-in can't listen: %s", qPrintable(m_listener->errorString()));
    }
    m_port = m_listener->serverPort();
}

VendorServer::VendorServer() : VendorServer(Options()) { }

VendorServer::VendorServer(const Options &options)
    : m_state(std::make_shared<State>(options)), m_worker(std::make_unique<Worker>(m_state, options.port))
{
    setPackVersion("1.2.6");
    setInstallerVersion("1.2.6");
}

VendorServer::~VendorServer() = default;

quint16 VendorServer::port() const
{
    return m_worker->port();
}

QString VendorServer::caFile() const
{
    return m_state->certificates.caFile();
}

QList<QByteArray> VendorServer::connectTo() const
{
    QList<QByteArray> entries;
    for (const QString &name : m_state->names) {
        entries.append(name.toLatin1() + ":443:127.0.0.1:" + QByteArray::number(port()));
    }
    return entries;
}

void VendorServer::setPackVersion(const QByteArray &version)
{
    m_state->routes.setPage("/api/wayfarVersion", "text/plain", version);
}

void VendorServer::setInstallerVersion(const QByteArray &version)
{
    m_state->routes.setPage("/api/macVersion", "text/plain", version);
}

void VendorServer::setChangeLog(const QByteArray &text)
{
    m_state->routes.setPage("/api/changelog", "text/plain; charset=utf-8", text);
}

void VendorServer::setFeed(const QByteArray &rss)
{
    m_state->routes.setPage("/feed", "application/rss+xml; charset=utf-8", rss);
}

void VendorServer::setBanners(const QByteArray &smallPng, const QByteArray &largePng)
{
    m_state->routes.setPage("/installer/banners/small.png", "image/png", smallPng);
    m_state->routes.setPage("/installer/banners/large.png", "image/png", largePng);
}

void VendorServer::setPack(const QByteArray &zip)
{
    m_state->routes.setPack(zip);
}

void VendorServer::setInstallerArchive(const QByteArray &version, const QByteArray &zip)
{
    m_state->routes.setPage("/WayfarRoutes_" + version + ".zip", "application/zip", zip);
}

void VendorServer::addAccount(const QString &user, const QString &password, const QByteArray &page)
{
    m_state->routes.addAccount(user, password, page);
}

void VendorServer::setAnswer(const QByteArray &path, const VendorAnswer &answer)
{
    m_state->routes.setAnswer(path, answer);
}

void VendorServer::queueAnswer(const QByteArray &path, const VendorAnswer &answer)
{
    m_state->routes.queueAnswer(path, answer);
}

void VendorServer::clearAnswers()
{
    m_state->routes.clearAnswers();
    m_worker->post([](Listener &listener) { listener.forgetSteps(); });
}

QList<VendorRequest> VendorServer::requests() const
{
    return m_state->log.all();
}

QList<VendorRequest> VendorServer::requests(const QByteArray &path) const
{
    return m_state->log.of(path);
}

bool VendorServer::waitForRequests(const QByteArray &path, int count) const
{
    return m_state->log.waitFor(path, count);
}

void VendorServer::clearRequests()
{
    m_state->log.clear();
}

int VendorServer::connections() const
{
    return m_state->connections;
}

void VendorServer::step()
{
    m_worker->post([](Listener &listener) { listener.step(); });
}
