#pragma once

#include "platform/FileManager.h"

#include <QString>

#include <optional>

class UserDefaults;

// The game's layout: a root goes in, paths come out.
class GameFolder
{
public:
    static constexpr QStringView usualRoot = u"/Applications/World of Warcraft"; // as the game's maker installs it

    explicit GameFolder(const QString &root);
    static std::optional<GameFolder> stored(const UserDefaults &defaults); // nothing while the player chose none
    static GameFolder current(const UserDefaults &defaults); // the stored one, or the usual one

    QString root() const { return m_root; } // the folder that holds "_retail_"
    FilePath addOns() const; // ends in a slash
    FilePath addOn() const; // ours, "Trailbook"
    FilePath tableOfContents() const; // of our add-on
    FilePath savedSettings() const; // of all add-ons, in folders below it

    QString launcher() const; // where the game's maker puts it
    // The root or the launcher, whichever is no folder, the root first; empty when both are there.
    QString missing() const;

    // What a player should know of a root that he chose.
    struct Finding {
        enum Kind {
            Usable,
            NoFolder,
            NoVariant, // no "_retail_" in it
            OtherSpelling // a folder on the way to the add-ons has letters of another case: the game may use that one
        };
        Kind kind = Usable;
        QString found = {}; // of another spelling: its name,
        QString expected = {}; // and the one that we use
    };
    Finding judged() const;

private:
    QString m_root;
};
