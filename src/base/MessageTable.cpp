#include "base/MessageTable.h"

#include <algorithm>
#include <array>

namespace tally {
namespace {

struct MessageRow {
    u16 number;
    WideView text;
};

// Ascending by number.
constexpr MessageRow messageRows[] = {
    {MSG_OUT_OF_MEMORY, u"内存不足"},
    {MSG_PROTECTED_CELL, u"单元格有保护"},
    {MSG_PART_OF_ARRAY, u"不能改变数组的某一部分"},
    {MSG_PART_OF_MERGE, u"不能对合并单元格作部分改动"},
    {MSG_FORMULA_ERROR, u"There is an error in the formula you entered"},
    {MSG_NO_ROOM_FOR_SHEET, u"No room to insert sheet"},
    {MSG_FILE_TYPE_UNKNOWN, u"File type not recognised"},
    {MSG_CANNOT_READ_FILE, u"不能读取文件\n%s"},
    {MSG_INVALID_DATA, u"Invalid data in input file"},
    {MSG_WORKBOOK_NOT_FOUND, u"Workbook not found in file"},
    {MSG_PASSWORD_PROTECTED, u"This file is password protected"},
    {MSG_CANNOT_CREATE_FILE, u"Unable to open output file\n%s"},
    {MSG_UPDATE_LINKS, u"This workbook contains links. Do you want to update them now?"},
    {MSG_SAVE_CHANGES, u"是否保存对 %s 的更改？"},
    {MSG_MACRO_REFERENCE, u"宏引用无效:"},
    {MSG_CANNOT_WRITE_FILE, u"不能写入文件\n%s"},
    {MSG_SEVERAL_SHEETS,
     u"The selected file type does not support workbooks that contain multiple sheets.\nTo save only the "
     u"active "
     u"sheet, click OK."},
    {MSG_SAVE_NAME_OPEN, u"要保存的文件不能与已打开的文档重名"},
    {MSG_NO_CHART_SHEET, u"The current sheet is not a chart sheet"},
    {MSG_REPLACE_FILE, u"%s 已存在。要替换它吗？"},
    {226, u"全部"},
    {227, u"财务"},
    {228, u"日期与时间"},
    {229, u"数学与三角函数"},
    {230, u"统计"},
    {231, u"查找与弟用"},
    {232, u"数据库"},
    {233, u"文本"},
    {234, u"逻辑"},
    {235, u"信息"},
    {236, u"科学记数"},
    {237, u"宏控件"},
    {238, u"宏命令"},
    {MSG_SAVE_FORM_MISSING, u"不能以此格式保存"},
    {MSG_ARRAY_OVER_MERGE, u"在合并单元格中数组公式无效"},
    {MSG_TRUST_BOOK, u"%s 要打开其他程序、文件或网络地址。\n是否允许？"},
    {MSG_INVALID_LINK, u"Invalid link"},
    {MSG_INVALID_LOCATION, u"Invalid location"},
    {MSG_ROW_HEIGHT_LIMIT, u"行高必须在 0 至 409 之间"},
    {MSG_COLUMN_WIDTH_LIMIT, u"列宽必须在 0 至 255 字符之间"},
    {MSG_ZOOM_LIMIT, u"Zoom percent must be between 10 and 400"},
    {MSG_NAME_LENGTH, u"Name must be 1-31 characters"},
    {MSG_NAME_CHARACTERS, u"Name contains invalid characters"},
    {MSG_NAME_NOT_UNIQUE, u"Name must be unique"},
    {MSG_WRONG_PASSWORD, u"输入的密码不正确"},
    {MSG_ENTRY_INVALID, u"输入值非法"},
    {MSG_ENTRY_INVALID_CONTINUE, u"输入值非法\n是否继续?"},
};

constexpr bool RowsAscend() {
    for (std::size_t i = 1; i < std::size(messageRows); ++i) {
        if (messageRows[i - 1].number >= messageRows[i].number) return false;
    }
    return messageRows[std::size(messageRows) - 1].number < MESSAGE_COUNT;
}
static_assert(RowsAscend());

}  // namespace

WideView Message(u16 number) {
    const MessageRow* row = std::lower_bound(std::begin(messageRows), std::end(messageRows), number,
                                             [](const MessageRow& r, u16 n) { return r.number < n; });
    return row != std::end(messageRows) && row->number == number ? row->text : WideView();
}

}  // namespace tally
