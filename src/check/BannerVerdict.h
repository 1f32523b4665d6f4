#pragma once

#include "check/Verdict.h"

#include <QByteArray>
#include <QSize>

namespace BannerVerdict
{
// On a picture for a banner of that size.
Verdict of(const QByteArray &bytes, QSize banner);
} // namespace BannerVerdict
