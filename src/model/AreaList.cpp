#include "model/AreaList.h"

#include <algorithm>
#include <tuple>

namespace tally {
namespace {

RefArea MakeArea(i32 firstRow, i32 lastRow, i32 firstColumn, i32 lastColumn) {
    return {static_cast<u16>(firstRow), static_cast<u16>(lastRow), static_cast<u8>(firstColumn),
            static_cast<u8>(lastColumn)};
}

// One direction of a merge: areas that are alike across it stand together, in order along it.
struct Direction {
    auto Across(const RefArea& a) const {
        return down ? std::tuple<i32, i32>(a.firstColumn, a.lastColumn)
                    : std::tuple<i32, i32>(a.firstRow, a.lastRow);
    }
    i32 First(const RefArea& a) const { return down ? i32{a.firstRow} : i32{a.firstColumn}; }
    i32 Last(const RefArea& a) const { return down ? i32{a.lastRow} : i32{a.lastColumn}; }
    void SetLast(RefArea& a, i32 last) const {
        if (down) a.lastRow = static_cast<u16>(last);
        else a.lastColumn = static_cast<u8>(last);
    }
    bool down;
};

// Joins what touches along one direction. True when anything was joined.
bool JoinAlong(Array<RefArea>& areas, Direction along) {
    std::sort(areas.begin(), areas.end(), [along](const RefArea& a, const RefArea& b) {
        return std::tuple(along.Across(a), along.First(a)) < std::tuple(along.Across(b), along.First(b));
    });
    u32 kept = 0;
    for (u32 i = 1; i < areas.Count(); ++i) {
        RefArea& run = areas[kept];
        if (along.Across(run) == along.Across(areas[i]) && along.First(areas[i]) <= along.Last(run) + 1) {
            along.SetLast(run, std::max(along.Last(run), along.Last(areas[i])));
        } else {
            areas[++kept] = areas[i];
        }
    }
    const bool joined = kept + 1 < areas.Count();
    if (joined) areas.Truncate(kept + 1);
    return joined;
}

}  // namespace

RefArea OrderedArea(RefArea area) {
    if (area.firstRow > area.lastRow) std::swap(area.firstRow, area.lastRow);
    if (area.firstColumn > area.lastColumn) std::swap(area.firstColumn, area.lastColumn);
    return area;
}

void MergeAreas(Array<RefArea>& areas) {
    bool joined = true;
    while (joined) {
        joined = JoinAlong(areas, {true});
        joined = JoinAlong(areas, {false}) || joined;
    }
    SortAreas(areas);
}

void SortAreas(Array<RefArea>& areas) {
    std::sort(areas.begin(), areas.end(), [](const RefArea& a, const RefArea& b) {
        return std::tie(a.firstRow, a.firstColumn, a.lastRow, a.lastColumn) <
               std::tie(b.firstRow, b.firstColumn, b.lastRow, b.lastColumn);
    });
}

AreaSplit SplitArea(const RefArea& area, const RefArea& rectangle) {
    AreaSplit split;
    const auto put = [&split](AreaPiece piece, const RefArea& cells) {
        split.pieces[piece] = cells;
        split.present = static_cast<u8>(split.present | 1 << piece);
    };
    if (!AreasMeet(area, rectangle)) return split;
    const RefArea inside = CommonArea(area, rectangle);
    if (area.firstColumn < inside.firstColumn)
        put(PIECE_LEFT, MakeArea(area.firstRow, area.lastRow, area.firstColumn, inside.firstColumn - 1));
    if (area.lastColumn > inside.lastColumn)
        put(PIECE_RIGHT, MakeArea(area.firstRow, area.lastRow, inside.lastColumn + 1, area.lastColumn));
    if (area.firstRow < inside.firstRow)
        put(PIECE_ABOVE, MakeArea(area.firstRow, inside.firstRow - 1, inside.firstColumn, inside.lastColumn));
    if (area.lastRow > inside.lastRow)
        put(PIECE_BELOW, MakeArea(inside.lastRow + 1, area.lastRow, inside.firstColumn, inside.lastColumn));
    put(PIECE_INSIDE, inside);
    return split;
}

bool SplitAreaInto(const RefArea& area, const RefArea& rectangle, Array<RefArea>& inside,
                   Array<RefArea>& outside) {
    const AreaSplit split = SplitArea(area, rectangle);
    if (!split.present) return outside.Append(area);
    for (u8 piece = PIECE_LEFT; piece < PIECE_INSIDE; ++piece) {
        if (split.Has(static_cast<AreaPiece>(piece)) && !outside.Append(split.pieces[piece])) return false;
    }
    return inside.Append(split.pieces[PIECE_INSIDE]);
}

bool SubtractArea(Array<RefArea>& areas, const RefArea& rectangle) {
    if (!AnyAreaMeets(areas, rectangle)) return true;
    Array<RefArea> inside, outside;
    for (const RefArea& area : areas) {
        if (!SplitAreaInto(area, rectangle, inside, outside)) return false;
    }
    areas = std::move(outside);
    return true;
}

bool AnyAreaMeets(const Array<RefArea>& areas, const RefArea& rectangle) {
    return std::any_of(areas.begin(), areas.end(),
                       [&rectangle](const RefArea& area) { return AreasMeet(area, rectangle); });
}

RefArea CommonArea(const RefArea& a, const RefArea& b) {
    return {std::max(a.firstRow, b.firstRow), std::min(a.lastRow, b.lastRow),
            std::max(a.firstColumn, b.firstColumn), std::min(a.lastColumn, b.lastColumn)};
}

}  // namespace tally
