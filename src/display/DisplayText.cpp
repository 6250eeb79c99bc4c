#include "display/DisplayText.h"

#include "display/NumberFormatter.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr i32 GENERAL_DIGITS = 15;

}  // namespace

bool DisplayValue(const Workbook& book, const Value& value, u16 numberFormat, WideText& out) {
    out.Truncate(0);
    switch (value.type) {
        case VT_NUMBER: {
            const WideView format = GetNumberFormatText(book, numberFormat);
            // A negative zero has no sign to show; adding zero takes it off.
            if (format == u"General") return FormatGeneral(value.number, GENERAL_DIGITS, out);
            return FormatNumber(value.number, format, nullptr, 0, book.date1904 != 0, nullptr, out);
        }
        case VT_STRING: {
            const WideView format = GetNumberFormatText(book, numberFormat);
            if (format == u"General") return out.Append(TextOf(value));
            return FormatTextValue(TextOf(value), format, out);
        }
        case VT_BOOL: return out.Append(BoolText(value.boolean != 0));
        case VT_ERROR: return out.Append(ErrorText(value.error));
        default: return true;
    }
}

bool DisplayText(const Workbook& book, const Value& value, u16 cellFormat, WideText& out) {
    return DisplayValue(book, value, ResolveCellFormat(book, cellFormat).numberFormat, out);
}

}  // namespace tally
