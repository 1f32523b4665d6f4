#pragma once

#include <QString>

struct AlertContent {
    QString messageText;
    QString informativeText = {};
    QString defaultButton = QStringLiteral("OK");
    QString alternateButton = {}; // none when empty
    QString heading = {}; // what it is about, in a word or two
};

// A question to the player, modal for the whole program.
class Alert
{
public:
    static constexpr int DefaultReturn = 1; // the answer of the default button

    virtual ~Alert() = default;
    // Returns when it was answered. Callable on any thread.
    virtual int runModal(const AlertContent &content) = 0;
};
