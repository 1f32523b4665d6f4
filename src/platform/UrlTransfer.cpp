#include "platform/UrlTransfer.h"

#include <utility>

using namespace std::chrono_literals;

UrlTransfer::UrlTransfer(const UrlLoaderSettings &settings, const UrlRequest &request,
                         const std::shared_ptr<UrlConnectionDelegate> &delegate, QObject *parent)
    : QObject(parent), m_delegate(delegate), m_multi(curl_multi_init()), m_handle(curl_easy_init())
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
    m_patience.setSingleShot(true);
    m_patience.setTimerType(Qt::PreciseTimer);
    connect(&m_patience, &QTimer::timeout, this, &UrlTransfer::watchPatience);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &UrlTransfer::watchSocket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &UrlTransfer::setTimer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);

    UrlExchange::Receiver receiver;
    receiver.response = [this](qint64 length) { m_delegate->connectionDidReceiveResponse(length); };
    receiver.data = [this](QByteArrayView data) {
        m_delegate->connectionDidReceiveData(data);
        return true;
    };
    m_exchange =
        std::make_unique<UrlExchange>(m_handle, settings, request, UrlExchange::Drive::EventLoop, std::move(receiver));
    m_patience.start(m_exchange->patienceLeft());
    curl_multi_add_handle(m_multi, m_handle); // only sets the timer: everything else comes from the event loop
}

UrlTransfer::~UrlTransfer()
{
    curl_multi_remove_handle(m_multi, m_handle);
    m_exchange.reset();
    curl_easy_cleanup(m_handle);
    curl_multi_cleanup(m_multi);
}

int UrlTransfer::setTimer(CURLM *, long milliseconds, void *self)
{
    QTimer &timer = static_cast<UrlTransfer *>(self)->m_timer;
    if (milliseconds < 0)
        timer.stop();
    else
        timer.start(std::chrono::milliseconds(milliseconds));
    return 0;
}

int UrlTransfer::watchSocket(CURL *, curl_socket_t socket, int what, void *self, void *)
{
    auto *transfer = static_cast<UrlTransfer *>(self);
    // libcurl may close the descriptor next, perhaps from within one of these notifiers' own signals.
    const Watch old = transfer->m_watches.take(socket);
    for (QSocketNotifier *notifier : {old.read, old.write}) {
        if (notifier) {
            notifier->setEnabled(false);
            notifier->deleteLater();
        }
    }
    Watch watch;
    if (what == CURL_POLL_IN || what == CURL_POLL_INOUT)
        watch.read = transfer->notifier(socket, QSocketNotifier::Read, CURL_CSELECT_IN);
    if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT)
        watch.write = transfer->notifier(socket, QSocketNotifier::Write, CURL_CSELECT_OUT);
    if (what != CURL_POLL_REMOVE)
        transfer->m_watches.insert(socket, watch);
    return 0;
}

QSocketNotifier *UrlTransfer::notifier(curl_socket_t socket, QSocketNotifier::Type type, int event)
{
    auto *watcher = new QSocketNotifier(socket, type, this);
    connect(watcher, &QSocketNotifier::activated, this, [this, socket, event] { act(socket, event); });
    return watcher;
}

void UrlTransfer::act(curl_socket_t socket, int events)
{
    if (m_isOver)
        return;
    int running = 0;
    curl_multi_socket_action(m_multi, socket, events, &running);
    m_exchange->reportResponse();
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg == CURLMSG_DONE)
            return hopEnded(message->data.result);
    }
}

void UrlTransfer::watchPatience()
{
    // This thread may have been busy with something else, and bytes may be waiting.
    for (const curl_socket_t socket : m_watches.keys())
        act(socket, CURL_CSELECT_IN);
    const std::chrono::milliseconds left = m_exchange->patienceLeft();
    if (m_isOver)
        return;
    const bool isLate = left < -500ms && !std::exchange(m_wasLate, true); // and so may be the vendor's next byte
    if (left > 0ms || isLate)
        m_patience.start(isLate ? 2s : left);
    else
        hopEnded(CURLE_OPERATION_TIMEDOUT);
}

void UrlTransfer::hopEnded(CURLcode code)
{
    curl_multi_remove_handle(m_multi, m_handle);
    const UrlExchange::Outcome outcome = m_exchange->hopEnded(code);
    if (outcome == UrlExchange::Outcome::Redirected) {
        curl_multi_add_handle(m_multi, m_handle);
        return;
    }
    deleteLater();
    m_isOver = true;
    m_timer.stop();
    m_patience.stop();
    const auto delegate = m_delegate;
    const QString error = m_exchange->error();
    // The delegate may run an alert's event loop, which deletes this object: no member is used from here on.
    if (outcome == UrlExchange::Outcome::Finished)
        delegate->connectionDidFinishLoading();
    else
        delegate->connectionDidFailWithError(error);
}
