#pragma once

#include "demo/VendorServer.h"

#include "platform/UrlLoader.h"

// Of the vendor's web site.
inline QString addressOf(const QString &path)
{
    return QStringLiteral("https://wayfar.example") + path;
}

// With the headers that the program's forms have.
inline UrlRequest formTo(const QString &url, const QByteArray &form = "user=ann&pass=key")
{
    return {.url = url,
            .method = "POST",
            .headers = {{"Content-Length", QByteArray::number(form.size())}, {"Content-Type", "words no semicolon"}},
            .body = form};
}

// The settings that lead to the vendor.
inline UrlLoaderSettings networkOf(const VendorServer &vendor, int idleSeconds = 60)
{
    return {.caFile = vendor.caFile(), .connectTo = vendor.connectTo(), .idleSeconds = idleSeconds};
}

inline VendorAnswer answerWith(const QByteArray &body, int status = 200)
{
    VendorAnswer answer;
    answer.body = body;
    answer.status = status;
    return answer;
}

// Nothing comes, and the connection stays.
inline VendorAnswer silence()
{
    VendorAnswer answer = answerWith("never sent");
    answer.stallAfter = -1;
    return answer;
}

// The connection breaks before the answer.
inline VendorAnswer brokenOff()
{
    VendorAnswer answer;
    answer.resetAfter = -1;
    return answer;
}

// The connection breaks after so many bytes of the body.
inline VendorAnswer brokenAfter(qint64 bytes, const QByteArray &body,
                                VendorAnswer::Length length = VendorAnswer::Length::Exact)
{
    VendorAnswer answer = answerWith(body);
    answer.length = length;
    answer.resetAfter = bytes;
    return answer;
}

// Nothing more comes after so many bytes of the body, until VendorServer::step().
inline VendorAnswer silentAfter(qint64 bytes, const QByteArray &body)
{
    VendorAnswer answer = answerWith(body);
    answer.stallAfter = bytes;
    return answer;
}

// The answer announces a length that its body does not have.
inline VendorAnswer announcing(qint64 length, const QByteArray &body)
{
    VendorAnswer answer = answerWith(body);
    answer.announcedLength = length;
    return answer;
}

// Each piece after the first waits for one VendorServer::step().
inline VendorAnswer inSteps(VendorAnswer answer, const QList<qsizetype> &pieces)
{
    answer.pieces = pieces;
    answer.stepped = true;
    return answer;
}

inline VendorAnswer answerOf(VendorAnswer::Length length, const QByteArray &body)
{
    VendorAnswer answer = answerWith(body);
    answer.length = length;
    return answer;
}

inline VendorAnswer redirectTo(const QByteArray &target, int status = 302)
{
    VendorAnswer answer = answerWith("the redirect's own words");
    answer.status = status;
    answer.headers = {{"Location", target}};
    return answer;
}

// An answer of status 103 has no body: what is sent as its body is read as the final answer.
inline VendorAnswer answerAfterAnInterimOne(const QByteArray &body)
{
    VendorAnswer answer =
        answerOf(VendorAnswer::Length::Absent,
                 "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    answer.status = 103;
    return answer;
}

// What the vendor was asked for, in order, each as "GET wayfar.example/feed" or "POST wayfar.example/api/x user=ann".
inline QList<QByteArray> askedOf(const VendorServer &vendor)
{
    QList<QByteArray> asked;
    for (const VendorRequest &request : vendor.requests()) {
        const QByteArray line = request.method + ' ' + request.host + request.path;
        asked.append(request.body.isEmpty() ? line : line + ' ' + request.body);
    }
    return asked;
}
