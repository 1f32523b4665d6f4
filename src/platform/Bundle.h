#pragma once

#include <QImage>
#include <QString>

class QIcon;

// The running program as an installed thing.
namespace Bundle
{
// The folder named *.app that encloses the executable; the executable's own folder where there is none.
QString path();
QString version(); // of this build, as main has set it
// The picture of that name among the program's resources, in the resolution that the screens ask for; null when
// unknown.
QImage imageNamed(const QString &name);
QIcon icon();
} // namespace Bundle
