#pragma once

#include <QList>
#include <QString>

struct GamePlace {
    QString name; // as a player calls it; no two places have the same
    QString path;
};

// Where games, and the Windows worlds that they live in, usually are.
namespace GamePlaces
{
// Those that exist, each once though two ways may lead to it, between the player's home and the root. Further libraries
// of Steam come from its own list of them.
QList<GamePlace> existing();
} // namespace GamePlaces
