#include "formula/ReferenceOperators.h"

#include <algorithm>

#include "formula/Coercion.h"
#include "formula/Links.h"

namespace tally {
namespace {

bool IsReference(const Value& value) { return value.type == VT_REF || value.type == VT_AREA; }

// The one area of an operand and the sheets that it lies on.
struct PlacedArea {
    i32 book = 0;
    i32 firstSheet = 0;
    i32 lastSheet = 0;
    RefArea area;
};

bool PlaceArea(const Value& value, const EvalContext& context, PlacedArea& out) {
    if (value.type == VT_AREA) {
        out = {context.book, context.sheet, context.sheet, value.area};
        return true;
    }
    if (value.type != VT_REF || value.areas->count != 1) return false;
    ResolvedRef ref;
    ref.book = context.book;
    if (!ResolveExternRef(value.externIndex, ref)) return false;
    out = {ref.targetBook, ref.firstSheet, ref.lastSheet, value.areas->areas[0]};
    return true;
}

// Puts the result's area into the left operand, whose form it keeps.
void SetArea(Value& value, const RefArea& area) {
    if (value.type == VT_AREA) {
        value.area = area;
    } else {
        value.areas->areas[0] = area;
    }
}

bool SameSheets(const PlacedArea& a, const PlacedArea& b) {
    return a.book == b.book && a.firstSheet == b.firstSheet && a.lastSheet == b.lastSheet;
}

void TakeError(Value& left, Value& right, i32 error) {
    FreeValue(right);
    right = Value();
    SetError(left, error);
}

// Appends the areas of `more` to those of `list`; false when memory fails.
bool JoinAreas(Value& list, std::span<const RefArea> more, bool inFront) {
    const std::size_t total = list.areas->count + more.size();
    if (total > 0xFFFF) return false;
    Value joined = RefValue(list.externIndex, static_cast<u16>(total));
    if (joined.type != VT_REF) return false;
    RefArea* out = joined.areas->areas;
    const std::span<const RefArea> own(list.areas->areas, list.areas->count);
    out = std::copy(inFront ? more.begin() : own.begin(), inFront ? more.end() : own.end(), out);
    std::copy(inFront ? own.begin() : more.begin(), inFront ? own.end() : more.end(), out);
    FreeValue(list);
    list = joined;
    return true;
}

bool OnContextSheet(const Value& reference, const EvalContext& context) {
    ResolvedRef ref;
    ref.book = context.book;
    return ResolveExternRef(reference.externIndex, ref) && ref.targetBook == context.book &&
           ref.firstSheet == context.sheet && ref.lastSheet == context.sheet;
}

void UniteReferences(Value& left, Value& right, const EvalContext& context) {
    if (left.type == VT_AREA && right.type == VT_AREA) CoerceValue(left, VT_REF, context);
    if (left.type == VT_ERROR) return TakeError(left, right, left.error);
    bool good = false;
    i32 error = ERR_NA;
    if (left.type == VT_REF && right.type == VT_AREA) {
        error = OnContextSheet(left, context) ? ERR_NA : ERR_VALUE;
        good = error == ERR_NA && JoinAreas(left, std::span(&right.area, 1), false);
    } else if (left.type == VT_AREA) {
        error = OnContextSheet(right, context) ? ERR_NA : ERR_VALUE;
        const RefArea area = left.area;
        std::swap(left, right);
        good = error == ERR_NA && JoinAreas(left, std::span(&area, 1), true);
    } else {
        error = left.externIndex == right.externIndex ? ERR_NA : ERR_VALUE;
        good = error == ERR_NA && JoinAreas(left, std::span(right.areas->areas, right.areas->count), false);
    }
    if (!good) return TakeError(left, right, error);
    FreeValue(right);
    right = Value();
}

}  // namespace

void IntersectRefs(Value& left, Value& right, const EvalContext& context) {
    PlacedArea a, b;
    if (!IsReference(left) || !IsReference(right) || !PlaceArea(left, context, a) ||
        !PlaceArea(right, context, b)) {
        return TakeError(left, right, ERR_REF);
    }
    const bool bothLists = left.type == VT_REF && right.type == VT_REF;
    const bool fits =
        a.book == b.book &&
        (bothLists ? b.firstSheet <= a.firstSheet && b.lastSheet >= a.lastSheet : SameSheets(a, b));
    if (!fits) return TakeError(left, right, ERR_REF);
    const RefArea common = {
        std::max(a.area.firstRow, b.area.firstRow), std::min(a.area.lastRow, b.area.lastRow),
        std::max(a.area.firstColumn, b.area.firstColumn), std::min(a.area.lastColumn, b.area.lastColumn)};
    if (common.firstRow > common.lastRow || common.firstColumn > common.lastColumn)
        return TakeError(left, right, ERR_NULL);
    SetArea(left, common);
    FreeValue(right);
    right = Value();
}

void UnionRefs(Value& left, Value& right, const EvalContext& context) {
    if (left.type == VT_ERROR) return TakeError(left, right, left.error);
    if (right.type == VT_ERROR) return TakeError(left, right, right.error);
    const bool keepsLeft = left.type == VT_ARRAY || left.type == VT_CONTROL || !IsReference(right);
    const bool keepsRight = right.type == VT_ARRAY || !IsReference(left);
    if (left.type == VT_ARRAY || left.type == VT_CONTROL || (keepsLeft && !keepsRight)) {
        FreeValue(right);
        right = Value();
        return;
    }
    if (keepsRight) {
        FreeValue(left);
        left = TakeValue(right);
        return;
    }
    UniteReferences(left, right, context);
}

void RangeRefs(Value& left, Value& right, const EvalContext& context) {
    PlacedArea a, b;
    const bool good = IsReference(left) && IsReference(right) && PlaceArea(left, context, a) &&
                      PlaceArea(right, context, b) && SameSheets(a, b) && a.firstSheet == a.lastSheet;
    if (!good) return TakeError(left, right, ERR_REF);
    SetArea(left,
            {std::min(a.area.firstRow, b.area.firstRow), std::max(a.area.lastRow, b.area.lastRow),
             std::min(a.area.firstColumn, b.area.firstColumn), std::max(a.area.lastColumn, b.area.lastColumn)});
    FreeValue(right);
    right = Value();
}

}  // namespace tally
