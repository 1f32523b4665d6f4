#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <utility>

using VendorHeaders = QList<std::pair<QByteArray, QByteArray>>;

// One answer of the stand-in. The plain one is a 200 with its body and true length; everything else is a fault to
// order. Where two meet, the stall comes before the reset, and a stepped piece does not pause as well.
struct VendorAnswer {
    enum class Length {
        Exact, // Content-Length
        Absent, // neither length nor chunks; the end of the connection ends the body
        Chunked
    };

    int status = 200;
    QByteArray contentType = "text/plain";
    VendorHeaders headers; // sent as they stand, e.g. {"Location", "https://..."}
    QByteArray body;
    qint64 filler = 0; // this many dots follow the body, made as they are sent: a 1 GiB answer needs no memory
    Length length = Length::Exact;
    // A wrong Content-Length instead of the true one (Length::Exact). After too few bytes the connection is closed in
    // good order; too many are just sent.
    std::optional<qint64> announcedLength;
    // Sizes of the body's first pieces, each a TLS record (and chunk) of its own; the rest follows as one more.
    QList<qsizetype> pieces;
    int pauseMs = 0; // between two pieces
    bool stepped = false; // every piece after the first waits for one VendorServer::step()
    // The connection is reset (RST) after this many body bytes, when they have arrived; -1: before the answer. Chunks
    // then lack their end.
    std::optional<qint64> resetAfter;
    // Silence after this many body bytes until step() or the client goes; -1: before the answer.
    std::optional<qint64> stallAfter;
};

struct VendorRequest {
    QByteArray method;
    QByteArray path; // with its query
    QByteArray host; // the Host header
    VendorHeaders headers;
    QByteArray body;

    // The header's value, the name in any letter case; nothing when it was not sent.
    std::optional<QByteArray> header(const QByteArray &name) const;
    // How often the header was sent.
    int headerCount(const QByteArray &name) const;
};

// The vendor's web site and download host on loopback: real TLS under a certificate authority made on the spot, real
// accounts, a real pack. It works in a thread of its own, so that a caller may block in a request to it. Every public
// function may be called from any thread.
class VendorServer
{
public:
    struct Options {
        // Names in the server's certificate.
        QStringList names = {QStringLiteral("wayfar.example"), QStringLiteral("www.wayfar.example"),
                             QStringLiteral("download.wayfar.example"), QStringLiteral("localhost")};
        bool expired = false; // the certificate ended yesterday
        bool trusted = true; // false: caFile() is the certificate of another authority
        quint16 port = 0; // a free one
    };

    VendorServer(); // the plain Options
    // Listening when it returns; ends the process with the reason when it can't.
    explicit VendorServer(const Options &options);
    ~VendorServer();

    quint16 port() const;
    QString caFile() const; // PEM; lives as long as the server
    // "NAME:443:127.0.0.1:PORT" for each of the names: libcurl's CONNECT_TO entries.
    QList<QByteArray> connectTo() const;

    // What the routes answer when nothing else was ordered. A banner or archive not set is a 404, the wrong method 405.
    void setPackVersion(const QByteArray &version); // GET /api/wayfarVersion; "1.2.6" at first
    void setInstallerVersion(const QByteArray &version); // GET /api/macVersion; "1.2.6" at first
    void setChangeLog(const QByteArray &text); // GET /api/changelog
    void setFeed(const QByteArray &rss); // GET /feed
    void setBanners(const QByteArray &smallPng, const QByteArray &largePng); // GET /installer/banners/{small,large}.png
    void setPack(const QByteArray &zip); // POST /api/dlGuide, for a known account
    void setInstallerArchive(const QByteArray &version, const QByteArray &zip); // GET /WayfarRoutes_VERSION.zip
    // POST /api/dlCheckUser answers the page to the right pair, "Error|..." to any other; dlGuide refuses the same way.
    void addAccount(const QString &user, const QString &password, const QByteArray &page);

    // Paths without a query; they answer with any query and method.
    void setAnswer(const QByteArray &path, const VendorAnswer &answer); // for every later request of the path
    void queueAnswer(const QByteArray &path, const VendorAnswer &answer); // for the next one only, in the order queued
    void clearAnswers(); // back to the routes; steps remembered are forgotten

    QList<VendorRequest> requests() const; // in the order received, the bodies complete
    QList<VendorRequest> requests(const QByteArray &path) const; // a path without a query is meant with any
    // Blocks the caller until the path was asked for that often; false after ten seconds.
    bool waitForRequests(const QByteArray &path, int count) const;
    void clearRequests();
    int connections() const; // TLS handshakes completed

    void step(); // lets the waiting answers send one more piece, or a stalled one go on; remembered when none waits yet

private:
    class Worker;
    struct State;
    std::shared_ptr<State> m_state;
    std::unique_ptr<Worker> m_worker;
};
