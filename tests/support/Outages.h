#pragma once

#include "support/Answers.h"
#include "support/TestWorld.h"

#include <QTest>

#include <functional>
#include <optional>

// One of the ways in which a request to the vendor ends with a transport error.
struct Outage {
    // Prepares the answer to the path. May give the world a new loader: what works with the loader is made afterwards.
    std::function<void(TestWorld &world, const QByteArray &path)> strike;
    std::optional<QByteArray> arrived; // of the body; nothing when not even the response began
};

// One row for each, in the column "outage", while the vendor sends the body, which has at least two bytes. Silence,
// which takes seconds to notice, is left to TestUrlIdleTime.
inline void addOutages(const QByteArray &body)
{
    QTest::addColumn<Outage>("outage");
    const auto reaching = [](const char *name, const std::function<void(TestWorld &)> &change) {
        QTest::newRow(name) << Outage{[change](TestWorld &world, const QByteArray &) { change(world); }, {}};
    };
    const auto answering = [](const char *name, const VendorAnswer &answer, const std::optional<QByteArray> &arrived) {
        QTest::newRow(name) << Outage{
            [answer](TestWorld &world, const QByteArray &path) { world.vendor().setAnswer(path, answer); }, arrived};
    };
    reaching("no network", [](TestWorld &world) { world.goOffline(); });
    reaching("a vendor not trusted", [](TestWorld &world) {
        world.useVendor({.connectTo = world.vendor().connectTo()}); // with the system's authorities
    });
    reaching("a host without an address", [](TestWorld &world) {
        UrlLoaderSettings network = world.network();
        network.connectTo = {"::" + QByteArray(64, 'a') + ":443"}; // too long a label: no name server is asked
        world.useVendor(network);
    });
    const qsizetype last = body.size() - 1;
    answering("broken before the answer", brokenOff(), std::nullopt);
    answering("broken before the body", brokenAfter(0, body), "");
    answering("broken before the last byte", brokenAfter(last, body), body.first(last));
    answering("fewer bytes than announced", announcing(body.size() + 10, body), body);
}
