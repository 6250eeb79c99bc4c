#include "model/Value.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "base/Memory.h"
#include "base/Text.h"

namespace tally {
namespace {

constexpr std::array<WideView, ERROR_COUNT> errorTexts = {u"#NULL!", u"#DIV/0!", u"#VALUE!", u"#REF!",
                                                          u"#NAME?", u"#NUM!",   u"#N/A"};
constexpr std::array<u8, ERROR_COUNT> biffErrors = {0, 7, 15, 23, 29, 36, 42};

std::size_t AreaListBytes(u16 count) {
    return offsetof(AreaList, areas) + (count ? count : 1u) * sizeof(RefArea);
}

}  // namespace

Value OwnedTextValue(TextBlock* block) {
    if (!block) return ErrorValue(ERR_NA);
    Value v;
    v.text = block;
    v.type = VT_STRING;
    return v;
}

Value TextValue(WideView text) { return OwnedTextValue(MakeText(text)); }

Value ArrayValue(u32 rows, u32 columns) {
    std::size_t bytes = 0;
    if (rows == 0 || columns == 0 || rows > 65536 || columns > 65535 ||
        !MultiplySizes(std::size_t{rows} * columns, sizeof(Value), bytes)) {
        return ErrorValue(ERR_NA);
    }
    auto* elements = static_cast<Value*>(AllocateZeroed(bytes));
    if (!elements) return ErrorValue(ERR_NA);
    Value v;
    v.elements = elements;
    v.rows = static_cast<u16>(rows);
    v.columns = static_cast<u16>(columns);
    v.type = VT_ARRAY;
    return v;
}

Value RefValue(i32 externIndex, u16 count) {
    auto* list = static_cast<AreaList*>(AllocateZeroed(AreaListBytes(count)));
    if (!list) return ErrorValue(ERR_NA);
    list->count = count;
    Value v;
    v.areas = list;
    v.externIndex = externIndex;
    v.type = VT_REF;
    return v;
}

void FreeValue(Value& value) {
    switch (value.type) {
        case VT_STRING: ReleaseText(value.text); break;
        case VT_REF: ReleaseBytes(value.areas); break;
        case VT_ARRAY: {
            const u32 count = ArrayElementCount(value);
            for (u32 i = 0; i < count; ++i) {
                if (value.elements[i].type == VT_STRING) ReleaseText(value.elements[i].text);
            }
            ReleaseBytes(value.elements);
            break;
        }
        default: break;
    }
}

void ClearValue(Value& value) {
    FreeValue(value);
    value = Value();
}

void SetError(Value& value, i32 error) {
    FreeValue(value);
    value = ErrorValue(error);
}

bool MakePlainText(Value& value) {
    if (value.type != VT_STRING || TextTail(value.text).empty()) return true;
    TextBlock* plain = MakeText(TextView(value.text));
    ClearValue(value);
    if (!plain) return false;
    value = OwnedTextValue(plain);
    return true;
}

void CopyValue(Value& target, const Value& source) {
    switch (source.type) {
        case VT_STRING:
            target = source;
            RetainText(target.text);
            break;
        case VT_REF: {
            target = RefValue(source.externIndex, source.areas->count);
            if (target.type != VT_REF) break;
            std::memcpy(static_cast<void*>(target.areas), source.areas, AreaListBytes(source.areas->count));
            break;
        }
        case VT_ARRAY: {
            const Value* from = source.elements;
            const u32 count = ArrayElementCount(source);
            Value copy = ArrayValue(ArrayRows(source), source.columns);
            if (copy.type == VT_ARRAY) {
                for (u32 i = 0; i < count; ++i) CopyValue(copy.elements[i], from[i]);
            }
            target = copy;
            break;
        }
        default: target = source; break;
    }
}

WideView ErrorText(i32 error) {
    return errorTexts[static_cast<std::size_t>(error >= 0 && error < ERROR_COUNT ? error : ERR_NA)];
}

i32 ErrorFromText(WideView text) {
    for (i32 i = 0; i < ERROR_COUNT; ++i) {
        if (EqualIgnoringCase(text, ErrorText(i))) return i;
    }
    return -1;
}

i32 ErrorFromBiff(u8 code) {
    for (std::size_t i = 0; i < biffErrors.size(); ++i) {
        if (biffErrors[i] == code) return static_cast<i32>(i);
    }
    return ERR_NA;
}

u8 BiffFromError(i32 error) {
    return biffErrors[static_cast<std::size_t>(error >= 0 && error < ERROR_COUNT ? error : ERR_NA)];
}

WideView BoolText(bool truth) { return truth ? WideView(u"TRUE") : WideView(u"FALSE"); }

}  // namespace tally
