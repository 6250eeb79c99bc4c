#pragma once
// Recorded drawing as text, one line a call, to be kept or compared.

#include <string>

#include "platform/headless/HeadlessDrawing.h"

namespace tally {

std::string RectText(const PixelRect& rect);
// Line breaks and tabs are shown as "\n" and "\t".
std::string LineText(WideView text);
std::string DrawingText(const Array<DrawRecord>& records, const char* indent);

}  // namespace tally
