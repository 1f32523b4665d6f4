#pragma once

#include <QImage>

// Apart from the banners: a program that only decodes does not carry the built-in pictures.
namespace ImageDecoding
{
// Null for what is no picture.
QImage decoded(const QByteArray &bytes);
} // namespace ImageDecoding
