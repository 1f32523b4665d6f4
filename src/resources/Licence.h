#pragma once

#include <QString>

namespace Licence
{
// The program's own, a paragraph in a line, so that it can be wrapped anywhere.
QString text();
} // namespace Licence
