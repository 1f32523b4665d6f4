#pragma once

#include "demo/VendorServer.h"

#include "platform/UrlLoader.h"

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
