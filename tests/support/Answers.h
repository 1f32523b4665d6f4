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

inline VendorAnswer answerOf(VendorAnswer::Length length, const QByteArray &body)
{
    VendorAnswer answer = answerWith(body);
    answer.length = length;
    return answer;
}

// The connection breaks when this much of the body has come.
inline VendorAnswer cutAfter(qint64 bytes, const QByteArray &body,
                             VendorAnswer::Length length = VendorAnswer::Length::Exact)
{
    VendorAnswer answer = answerOf(length, body);
    answer.resetAfter = bytes;
    return answer;
}

// Nothing more comes after this much of the body, until VendorServer::step().
inline VendorAnswer stalledAfter(qint64 bytes, const QByteArray &body)
{
    VendorAnswer answer = answerWith(body);
    answer.stallAfter = bytes;
    return answer;
}

// The connection is closed in good order, but bytes are missing at the end.
inline VendorAnswer shorterThanAnnounced(const QByteArray &body, qint64 missing = 1)
{
    VendorAnswer answer = answerWith(body);
    answer.announcedLength = body.size() + missing;
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
