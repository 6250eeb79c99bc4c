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
    {MSG_UNDO_FIRST, u"键入"},
    {10, u"清除"},
    {11, u"剪切"},
    {12, u"粘贴"},
    {13, u"删除行"},
    {14, u"删除列"},
    {15, u"删除工作表"},
    {16, u"删除图表"},
    {17, u"插入单元格"},
    {18, u"插入行"},
    {19, u"插入列"},
    {20, u"插入工作表"},
    {21, u"插入图表"},
    {22, u"插入名称"},
    {23, u"更新名称"},
    {24, u"删除名称"},
    {25, u"单元格格式"},
    {26, u"行高"},
    {27, u"隐藏行"},
    {28, u"取消隐藏行"},
    {29, u"列宽"},
    {30, u"隐藏列"},
    {31, u"取消隐藏列"},
    {32, u"标准列宽"},
    {33, u"重命名工作表"},
    {34, u"网格线"},
    {35, u"行号列标"},
    {36, u"显示比例"},
    {37, u"保护"},
    {38, u"冻结窗格"},
    {39, u"撤消窗口冻结"},
    {40, u"排序"},
    {41, u"删除宏表"},
    {42, u"插入宏表"},
    {43, u"公式"},
    {44, u"删除单元格"},
    {45, u"向下填充"},
    {46, u"向右填充"},
    {47, u"向上填充"},
    {48, u"向左填充"},
    {49, u"以序列方式填充"},
    {50, u"替换"},
    {51, u"插入批注"},
    {52, u"编辑批注"},
    {53, u"隐藏工作表"},
    {54, u"取消隐藏工作表"},
    {55, u"数据有效性"},
    {56, u"设置条件格式"},
    {57, u"单变量求解"},
    {58, u"超级链接"},
    {59, u"数据项"},
    {60, u"对象格式"},
    {61, u"移动对象"},
    {62, u"调整对象"},
    {63, u"插入对象"},
    {64, u"删除对象"},
    {65, u"移动工作表"},
    {66, u"复制工作表"},
    {67, u"列中的文本"},
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
    {MSG_FILE_CHANGED, u"%s 已被其他程序更改。要覆盖它吗？"},
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
    {MSG_NO_ROOM_FOR_ROWS, u"No room to insert rows"},
    {MSG_NO_ROOM_FOR_COLUMNS, u"No room to insert columns"},
    {MSG_NO_ROOM_FOR_CELLS, u"No room to insert cells"},
    {MSG_FILTER_COLUMNS, u"当“自动筛选”生效时，不能在清单中插入或删除数据列"},
    {MSG_NO_ROOM_TO_PASTE, u"No room to paste data"},
    {MSG_PASTE_SHAPE, u"剪贴板数据与选定区域的大小形状不同"},
    {MSG_SAVE_FORM_MISSING, u"不能以此格式保存"},
    {MSG_ARRAY_OVER_MERGE, u"在合并单元格中数组公式无效"},
    {MSG_TRUST_BOOK, u"%s 要访问工作簿以外的内容。"},
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
    {MSG_SAVE_LOSSES, u"保存后文件中将不再有以下内容：\n%s\n是否继续保存？"},
    {MSG_TRUST_USE_FIRST, u"公式要读取文件:"},
    {MSG_TRUST_USE_FIRST + 1, u"宏要读取文件:"},
    {MSG_TRUST_USE_FIRST + 2, u"宏要写入文件:"},
    {MSG_TRUST_USE_FIRST + 3, u"宏要删除文件:"},
    {MSG_TRUST_USE_FIRST + 4, u"要运行程序或打开文件:"},
    {MSG_TRUST_USE_FIRST + 5, u"宏要装载程序库:"},
    {MSG_TRUST_USE_FIRST + 6, u"要打开网络地址:"},
    {MSG_TRUST_QUESTION, u"是否允许？"},
    {MSG_CALCULATION_BOUND, u"Some formulas take too many steps or too much room. They keep their old values."},
    {MSG_CALCULATION_STOPPED, u"The calculation was stopped. Press F9 to go on."},
    {MSG_NO_NUMBER, u"请输入数字"},
    {MSG_BUTTON_OK, u"确定"},
    {MSG_BUTTON_CANCEL, u"取消"},
    {MSG_BUTTON_CLOSE, u"关闭"},
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
