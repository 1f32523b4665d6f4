#pragma once

#include <QStringList>

// What becomes of one answer of the vendor, in words for the vendor.
struct Verdict {
    QStringList right = {}; // what players get
    QStringList notes = {}; // worth knowing, and no mistake
    QStringList wrong = {}; // what is wrong, and what players get of it

    bool isRight() const { return wrong.isEmpty(); }
    void add(const Verdict &other)
    {
        right += other.right;
        notes += other.notes;
        wrong += other.wrong;
    }
};
