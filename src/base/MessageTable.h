#pragma once
// Every text that the user sees, by number. Rows 9 to 67 are the undo labels and rows 226 to 238 the
// function categories; the other numbers are free.

#include "base/Base.h"

namespace tally {

constexpr u16 MESSAGE_COUNT = 675;

enum MessageId : u16 {
    // 1 to 8: everywhere.
    MSG_OUT_OF_MEMORY = 1,
    MSG_PROTECTED_CELL = 2,
    MSG_PART_OF_ARRAY = 3,
    MSG_PART_OF_MERGE = 4,
    MSG_FORMULA_ERROR = 5,
    MSG_NO_ROOM_FOR_SHEET = 6,
    // 9 to 67: undo labels, by undo kind.
    MSG_UNDO_FIRST = 9,
    // 68 to 99: files.
    MSG_FILE_TYPE_UNKNOWN = 68,
    MSG_CANNOT_READ_FILE = 69,
    MSG_INVALID_DATA = 70,
    MSG_WORKBOOK_NOT_FOUND = 71,
    MSG_PASSWORD_PROTECTED = 72,
    MSG_CANNOT_CREATE_FILE = 73,
    MSG_UPDATE_LINKS = 74,
    MSG_SAVE_CHANGES = 75,
    MSG_MACRO_REFERENCE = 76,
    MSG_CANNOT_WRITE_FILE = 77,
    MSG_SEVERAL_SHEETS = 78,
    MSG_SAVE_NAME_OPEN = 79,
    MSG_NO_CHART_SHEET = 80,
    MSG_REPLACE_FILE = 81,
    MSG_FILE_CHANGED = 82,
    // 226 to 238: function categories.
    MSG_CATEGORY_FIRST = 226,
    // 300 to 349: editing.
    MSG_NO_ROOM_FOR_ROWS = 300,
    MSG_NO_ROOM_FOR_COLUMNS = 301,
    MSG_NO_ROOM_FOR_CELLS = 302,
    MSG_FILTER_COLUMNS = 303,
    MSG_NO_ROOM_TO_PASTE = 310,
    MSG_PASTE_SHAPE = 311,
    // 400 to 449: the shell.
    MSG_SAVE_FORM_MISSING = 400,
    MSG_ARRAY_OVER_MERGE = 401,
    MSG_TRUST_BOOK = 402,  // the rows of ForeignUse stand at MSG_TRUST_USE_FIRST
    MSG_INVALID_LINK = 403,
    MSG_INVALID_LOCATION = 404,
    MSG_ROW_HEIGHT_LIMIT = 405,
    MSG_COLUMN_WIDTH_LIMIT = 406,
    MSG_ZOOM_LIMIT = 407,
    MSG_NAME_LENGTH = 408,
    MSG_NAME_CHARACTERS = 409,
    MSG_NAME_NOT_UNIQUE = 410,
    MSG_WRONG_PASSWORD = 411,
    MSG_ENTRY_INVALID = 412,
    MSG_ENTRY_INVALID_CONTINUE = 413,
    MSG_SAVE_LOSSES = 414,
    MSG_TRUST_USE_FIRST = 420,
    MSG_TRUST_QUESTION = 427,
    MSG_CALCULATION_BOUND = 428,
    MSG_CALCULATION_STOPPED = 429,
    MSG_NO_NUMBER = 440,
    MSG_BUTTON_OK = 441,
    MSG_BUTTON_CANCEL = 442,
    MSG_BUTTON_CLOSE = 443,
};

// The text of a row; empty for a number that is not used.
WideView Message(u16 number);

}  // namespace tally
