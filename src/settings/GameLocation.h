#pragma once

#include <QString>

// Where the game is when it was installed as its maker does it.
struct GameLocation {
    QString gameFolder;
    QString launcher;

    static GameLocation standard();
    // The one of the two that is missing or no folder, the game folder first; empty when both are there.
    QString missing() const;
};
