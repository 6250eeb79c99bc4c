#include "shell/frame/Bands.h"

#include <algorithm>
#include <array>
#include <utility>

#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

// Lengths on a screen with 96 pixels to the inch.
constexpr i32 BAND_GAP = 9, STRIP_MARGIN = 2, GRIP_MARGIN = 3;
constexpr u32 LIGHT = 0xFFFFFF, DARK = 0xA0A0A0;

// All four bands in the order of their indexes, those of the same in that of their numbers.
using BandOrder = std::array<BandNumber, 4>;
BandOrder OrderOfBands() {
    BandOrder order = {BAND_STANDARD, BAND_FORMULA, BAND_FORMAT, BAND_ENTRY};
    std::stable_sort(order.begin(), order.end(), [](BandNumber a, BandNumber b) {
        return Shell().bands[a].index < Shell().bands[b].index;
    });
    return order;
}

void TakeOrder(const BandOrder& order) {
    for (std::size_t i = 0; i < order.size(); ++i) Shell().bands[order[i]].index = static_cast<i32>(i);
}

bool IsInStrip(BandNumber band) { return band != BAND_FORMULA && IsBandShown(band); }

// The shown band before or behind another in the strip; that one itself when there is none.
BandNumber BandBeside(BandNumber band, i32 step) {
    const BandOrder order = OrderOfBands();
    i32 at = static_cast<i32>(std::find(order.begin(), order.end(), band) - order.begin());
    for (at += step; at >= 0 && at < static_cast<i32>(order.size()); at += step)
        if (IsInStrip(order[static_cast<std::size_t>(at)])) return order[static_cast<std::size_t>(at)];
    return band;
}

void Exchange(BandNumber a, BandNumber b) {
    BandOrder order = OrderOfBands();
    std::iter_swap(std::find(order.begin(), order.end(), a), std::find(order.begin(), order.end(), b));
    TakeOrder(order);
}

// The entry line goes above the strip, or below it.
void PutLine(bool above) {
    BandOrder order = OrderOfBands();
    const auto line = std::find(order.begin(), order.end(), BAND_FORMULA);
    if (above) std::rotate(order.begin(), line, line + 1);
    else std::rotate(line, line + 1, order.end());
    TakeOrder(order);
}

// Past the middle of a neighbour the band changes places with it. False where it stands between them.
bool PassNeighbour(BandNumber band, i32 left) {
    const BandNumber before = BandBeside(band, -1), behind = BandBeside(band, 1);
    if (before != band && left < BandLeft(before) + ButtonsWidth(before) / 2) Exchange(band, before);
    else if (behind != band && left > BandLeft(behind) + ButtonsWidth(behind) / 2) Exchange(band, behind);
    else return false;
    return true;
}

// Between its neighbours the one before it becomes wider or narrower.
void MoveAlong(BandNumber band, i32 left) {
    for (int bands = 0; bands < 2; ++bands)
        if (!PassNeighbour(band, left)) break;
    const BandNumber before = BandBeside(band, -1);
    if (before != band)
        Shell().bands[before].width =
            std::max(ButtonsWidth(before), left - ScreenLength(BAND_GAP) - BandLeft(before));
}

}  // namespace

// Each band takes the room of its buttons, and what its own width wants beyond that as long as all the others
// keep theirs; a width as large as the strip's wants nothing.
i32 BandLeft(BandNumber band) {
    const PixelRect& strip = Shell().layout.toolbar;
    const BandOrder order = OrderOfBands();
    const i32 gap = ScreenLength(BAND_GAP), margin = ScreenLength(STRIP_MARGIN);
    const i32 whole = strip.right - strip.left;
    i32 spare = whole - 2 * margin + gap;
    for (const BandNumber each : order)
        if (IsInStrip(each)) spare -= ButtonsWidth(each) + gap;
    i32 left = strip.left + margin;
    for (const BandNumber each : order) {
        if (each == band) break;
        if (!IsInStrip(each)) continue;
        const i32 width = Shell().bands[each].width, least = ButtonsWidth(each);
        const i32 more = width < whole ? std::clamp(width - least, 0, std::max(0, spare)) : 0;
        spare -= more;
        left += least + more + gap;
    }
    return left;
}

PixelRect GripPlace(BandNumber band) {
    const PixelRect& strip = Shell().layout.toolbar;
    if (IsEmptyRect(strip) || !IsInStrip(band) || BandBeside(band, -1) == band) return PixelRect();
    const i32 left = BandLeft(band);
    return {left - ScreenLength(BAND_GAP), strip.top, left, strip.bottom};
}

void PaintGrips(DrawTarget& target) {
    const i32 margin = ScreenLength(GRIP_MARGIN), thickness = std::max(1, ScreenLength(1));
    for (const BandNumber band : {BAND_STANDARD, BAND_FORMAT, BAND_ENTRY}) {
        const PixelRect place = GripPlace(band);
        if (IsEmptyRect(place)) continue;
        const i32 x = place.left + margin, top = place.top + margin, bottom = place.bottom - margin;
        FillRect(target, {x, top, x + thickness, bottom}, LIGHT);
        FillRect(target, {x + thickness, top, x + 2 * thickness, bottom}, DARK);
    }
}

bool PressGrip(i32 x, i32 y) {
    for (const BandNumber band : {BAND_STANDARD, BAND_FORMAT, BAND_ENTRY}) {
        if (!RectHolds(GripPlace(band), x, y)) continue;
        Shell().toolbar.dragged = band;
        Shell().toolbar.dragOffset = x - BandLeft(band);
        ShellPlatform().setCapture(true);
        return true;
    }
    return false;
}

bool DragGrip(i32 x, i32 y) {
    const i32 dragged = Shell().toolbar.dragged;
    if (dragged < 0) return false;
    const auto band = static_cast<BandNumber>(dragged);
    const PixelRect &strip = Shell().layout.toolbar, &line = Shell().layout.entryLine;
    const i32 middle = (line.top + line.bottom) / 2;
    const bool above = line.top < strip.top;
    if (!IsEmptyRect(line) && (above ? y < middle : y >= middle)) PutLine(!above);
    else MoveAlong(band, x - Shell().toolbar.dragOffset);
    RefreshChrome();
    return true;
}

bool ReleaseGrip() {
    if (std::exchange(Shell().toolbar.dragged, -1) < 0) return false;
    ShellPlatform().setCapture(false);
    return true;
}

}  // namespace tally
