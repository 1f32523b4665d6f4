#pragma once

#include <QString>

// A program as one folder, which runs wherever it is put: the AppDir form, with "AppRun" in it, or a folder named
// *.app.
namespace Bundle
{
bool isBundle(const QString &path);
// What starts the bundle: its AppRun, else the executable of the bundle's own name; empty when it has neither.
QString programOf(const QString &bundle);
// The bundle, by its name, that encloses the folder or is it; empty when there is none.
QString enclosing(const QString &folder);
// The running program's; the executable's own folder where it is in none.
QString running();
} // namespace Bundle
