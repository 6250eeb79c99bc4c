#pragma once
// How well what is shown can be read, and the palette of a dark desktop.

#include <QImage>
#include <QPalette>

namespace tally {

// Of what a text needs to be read, by the published guidelines.
constexpr double READABLE = 4.5;
// The same for a picture.
constexpr double VISIBLE = 3.0;

// The ratio between the commonest colour of a part of a picture and the one that stands out most from it; 1
// where there is one colour only.
double ContrastOf(const QImage& image, const QRect& part);

QPalette DarkPalette();

}  // namespace tally
