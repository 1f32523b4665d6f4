#pragma once

#include <QImage>
#include <QString>

class QIcon;

// The pictures that the program carries.
namespace Pictures
{
// The picture of that name, in the resolution that the screens ask for; null when unknown. Any thread.
QImage imageNamed(const QString &name);
QIcon icon(); // the program's own
} // namespace Pictures
