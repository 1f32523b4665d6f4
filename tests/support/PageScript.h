#pragma once

#include "controls/Pane.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <QVariant>
#include <QWebEnginePage>

#include <functional>
#include <memory>
#include <optional>

// For conditions that the web engine brings about: QTest's own waiting sleeps between two looks, and the engine takes
// many small steps. False after ten seconds.
inline bool waitUntil(const std::function<bool()> &condition)
{
    const QDeadlineTimer limit(10000);
    while (!condition()) {
        if (limit.hasExpired())
            return false;
        QEventLoop loop;
        QTimer::singleShot(5, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

// What a script of the page's own answers; invalid when it answers nothing.
inline QVariant answerOf(const Pane &pane, const QString &script)
{
    const auto answer = std::make_shared<std::optional<QVariant>>();
    pane.page()->runJavaScript(script, [answer](const QVariant &value) { *answer = value; });
    return waitUntil([answer] { return answer->has_value(); }) ? **answer : QVariant();
}

// The page's visible text, with single blanks.
inline QString textOf(const Pane &pane)
{
    return answerOf(pane, QStringLiteral("document.body ? document.body.innerText : ''")).toString().simplified();
}

inline bool waitForText(const Pane &pane, const QString &text)
{
    return waitUntil([&] { return textOf(pane) == text; });
}
