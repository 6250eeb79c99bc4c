#pragma once
// The records of a book. No routine stands here: what acts on them is in the headers beside.

#include "base/Array.h"
#include "base/Platform.h"
#include "base/WideText.h"
#include "model/CarriedTypes.h"
#include "model/Value.h"
#include "objects/ObjectTypes.h"

namespace tally {

// ---- formulas -------------------------------------------------------------------------------------

// A BIFF8 token string: `length` bytes of tokens, then `extraLength` bytes of array constants.
// `bytes` lies in a block with a count of its users (model/Tokens.h); null means no formula.
struct FormulaTokens {
    u16 length = 0;
    u16 extraLength = 0;
    u8* bytes = nullptr;
};

struct Sheet;

// What only a formula cell needs, beside its CellRecord.
struct FormulaCell {
    FormulaTokens tokens;
    Sheet* sheet = nullptr;  // the sheet whose store holds the cell
    u32 listIndex = 0;       // place in CellStore::formulas
    u16 row = 0;
    u8 column = 0;
    bool alwaysCalculate = false;  // its inputs cannot be told from its tokens
    bool indexed = false;          // entered in the index of dependents
    bool kept = false;             // the value is an older one: what it asked for was away
    bool stopped = false;          // stale because a bound ended its calculation: not begun again by itself
    u32 dependentMark = 0;         // work word of the index of dependents
};

// ---- cells ----------------------------------------------------------------------------------------

enum CalcState : u8 {
    CALC_STALE = 0,        // formula whose value must be computed before it is read
    CALC_CALCULATING = 1,  // formula on the path of the running calculation
    CALC_CURRENT = 2,      // the value may be read
    CALC_BLANK = 3,        // no formula and no value: the cell exists for its format
};

// A stored cell; its row is that of the CellRow that holds it.
struct CellRecord {
    Value value;                     // a constant, or the last result; number, text, boolean, error or empty
    FormulaCell* formula = nullptr;  // owned; null for a constant or a blank cell
    u16 format = 0;                  // index in Workbook::cellFormats
    u8 column = 0;
    u8 calcState = CALC_BLANK;
    u32 spare = 0;
};
static_assert(sizeof(CellRecord) == 32);

// The cells of one row, ascending by column, in one block.
struct CellRow {
    CellRecord* cells = nullptr;
    u16 row = 0;
    u16 count = 0;  // 1 to 256: a row without cells has no CellRow
    u16 capacity = 0;
    u16 spare = 0;
};

// The cells of a sheet: rows ascending, so that a walk is in the order of row, then column.
struct CellStore {
    Array<CellRow> rows;
    Array<FormulaCell*> formulas;  // every formula of the sheet, in no order
    u32 count = 0;                 // cells stored
    u32 lastSlot = 0;              // where the last search ended
    // Raised whenever a value in that column changes; sums and lookups kept from before are then old.
    u32 columnVersion[MAX_COLUMNS] = {};
    u32 formulasInColumn[MAX_COLUMNS] = {};
};

// Where a cell stands, or would stand, in a store.
struct CellPosition {
    u32 slot = 0;   // in CellStore::rows
    u32 index = 0;  // in CellRow::cells
};

// What SetCell stores. Its value and tokens pass to the store.
struct CellInput {
    u16 row = 0;
    u8 column = 0;
    u16 format = 15;
    Value value;
    FormulaTokens tokens;
};

enum ColumnFlags : u16 {
    COLUMN_HIDDEN = 1,
    COLUMN_DEFAULT_WIDTH = 2,
    COLUMN_USER_WIDTH = 4,
    COLUMN_BEST_FIT = 8,
    COLUMN_COLLAPSED = 16,
    COLUMN_LEVEL = 0x700,  // of the outline
    COLUMN_OUTLINE = COLUMN_COLLAPSED | COLUMN_LEVEL,
};
enum RowFlags : u16 {
    ROW_HIDDEN = 1,
    ROW_CUSTOM_HEIGHT = 2,
    ROW_DEFAULT_HEIGHT = 4,
    ROW_COLLAPSED = 16,
    ROW_FORMATTED = 32,    // the row's own format counts for its empty cells
    ROW_LEVEL = 0x700,     // of the outline
    ROW_BORDERS = 0x7000,  // a thick line above, below; phonetic text
    ROW_OUTLINE = ROW_COLLAPSED | ROW_LEVEL,
    ROW_KEPT = ROW_OUTLINE | ROW_FORMATTED | ROW_BORDERS,  // what a new height leaves alone
};
constexpr u32 LEVEL_SHIFT = 8, ROW_BORDER_SHIFT = 12;

struct ColumnInfo {
    u8 column = 0;
    u16 flags = COLUMN_DEFAULT_WIDTH;
    u16 width = 0;    // 1/256 of the width of "0"
    u16 format = 15;  // for empty cells of the column
};

struct RowInfo {
    u16 row = 0;
    u16 flags = ROW_DEFAULT_HEIGHT;
    u16 height = 0;   // twips
    u16 format = 15;  // with ROW_FORMATTED
};

// A rectangle whose cells belong to one array formula. `tokens` serve the readers and writers.
struct ArrayEntry {
    RefArea area;
    u16 reserved1 = 0;
    u16 reserved2 = 0;
};

enum DataTableFlags : u16 {
    TABLE_ROW_INPUT = 4,  // of one input: the values stand in the row above
    TABLE_TWO_INPUTS = 8,
    TABLE_INPUT_LOST = 0x10,  // of the first input, and of the second
    TABLE_SECOND_LOST = 0x20,
};

// A rectangle of results of one formula for many values of one or two input cells. With two inputs the first
// takes the values of the row above, the second those of the column on the left.
struct DataTable {
    RefArea area;
    u16 flags = 0;
    u16 inputs[4] = {};  // row and column of the two input cells
};

// ---- formats --------------------------------------------------------------------------------------

enum CellFormatFlags : u16 {
    FORMAT_LOCKED = 1,
    FORMAT_HIDDEN = 2,        // the formula is not shown on a protected sheet
    FORMAT_STYLE = 4,         // a style row, not for cells
    FORMAT_QUOTE_PREFIX = 8,  // text entered with a leading apostrophe
    FORMAT_WRAP = 16,
};

// An extended-format row. Immutable once a cell uses it. Colours are palette indexes.
struct CellFormat {
    u16 font = 0;
    u16 numberFormat = 0;  // an id, not a position
    u16 flags = FORMAT_LOCKED;
    u8 horizontal = 0;
    u8 vertical = 2;
    u8 rotation = 0;
    u8 pattern = 0;
    u8 patternColour = 64;
    u8 backColour = 65;
    u8 topStyle = 0, topColour = 64;
    u8 leftStyle = 0, leftColour = 64;
    u8 bottomStyle = 0, bottomColour = 64;
    u8 rightStyle = 0, rightColour = 64;
    u8 diagonalStyle = 0, diagonalColour = 0;
    u8 diagonals = 0;  // 1 down, 2 up
    u8 layout = 0;     // indent, shrink to fit, direction of the text: as in the file
    u8 spare = 0;
    u8 own = 0xFC;   // attributes that do not follow the style, as in the file
    u16 parent = 0;  // the style's row
};

constexpr u16 DEFAULT_CELL_FORMAT = 15;
constexpr u16 STYLE_PARENT = 0xFFF;     // a style has no parent
constexpr u16 STYLE_BUILT_IN = 0x8000;  // in StyleRow::xf
constexpr u8 ALL_OWN = 0xFC;
constexpr u16 AUTOMATIC_COLOUR = 32767;

enum FontAttributes : u16 { FONT_ITALIC = 2, FONT_STRIKEOUT = 8 };

struct FontRecord {
    u16 height = 200;  // twips
    u16 attributes = 0;
    u16 colour = AUTOMATIC_COLOUR;
    u16 weight = 400;
    u8 underline = 0;
    u8 family = 0;
    u8 charSet = 0;
    u8 escapement = 0;  // 1 raised, 2 lowered
    char16_t faceName[32] = {};
};

struct NumberFormat {
    u16 id = 0;
    u16 flags = 0;       // bit 0: the text is one of the built-in constants
    WideText text;       // in file form, English keywords
    WideText localText;  // as the user sees it
};

struct StyleRow {
    u16 xf = 0;  // bit 15 set for a built-in style
    u8 builtInId = 0;
    u8 level = 255;
    WideText name;           // of a user's style
    CarriedBytes extension;  // the records that go with it
};

// ---- names and links ------------------------------------------------------------------------------

struct DefinedName {
    u16 flags = 0;  // bit 0 hidden; the others as in the NAME record, the built-in bit cleared
    u8 shortcut = 0;
    u16 sheet = 0;  // 0 global, else the 1-based sheet it is scoped to
    WideText text;
    FormulaTokens tokens;    // null: known but undefined
    u8 textLengths[4] = {};  // of the menu texts, which stand behind the tokens
};

struct ExternName {
    WideText text;
    i16 sheet = 0;      // 1-based entry of sheetNames, or 0
    u16 flags = 0;      // as in the file
    CarriedBytes body;  // what stands behind the name
};

// A value that a linked file had when it was last seen.
struct ExternCell {
    i16 sheet = -1;  // place in sheetNames
    u16 row = 0;
    u8 column = 0;
    u8 type = 0;        // as in the file: 0 empty, 1 number, 2 text, 4 boolean, 16 error
    double number = 0;  // also of booleans, and the code of an error
    WideText text;
};

enum ExternBookKind : u32 { EXTERN_FILE = 0, EXTERN_SELF = 1, EXTERN_ADDIN = 2, EXTERN_CURRENT = 3 };

struct ExternBook {
    WideText path;  // EXTERN_FILE: in stored form
    Array<WideText> sheetNames;
    u32 kind = EXTERN_FILE;
    Array<ExternName> names;
    bool trusted = false;     // the user was told of this file and let it be read
    Array<ExternCell> cells;  // by sheet, as read
};

constexpr i16 EXTERN_NO_SHEET = -2;

struct ExternSheet {
    i16 externBook = 0;
    i16 firstSheet = 0;  // -1: the sheet was deleted; -2: no sheet
    i16 lastSheet = 0;
};

// ---- rules and lists of a sheet -------------------------------------------------------------------

struct Hyperlink {
    RefArea area;
    u16 kind = 1;
    WideText target;
    WideText location;
    WideText description, frame;  // as a file has them
};

struct ValidationRule {
    u32 kind = 0;        // 0 any, 1 whole, 2 decimal, 3 list, 4 date, 5 time, 6 text length, 7 custom
    u32 errorStyle = 0;  // 0 stop, 1 warning, 2 information
    u32 literalList = 0;
    u32 ignoreBlank = 1;
    u32 noDropArrow = 0;
    u32 inputMethod = 0;  // mode that another program switches to: 0 leaves it
    u32 showInput = 1;
    u32 showError = 1;
    u32 comparison = 0;  // 0 between ... 7 less or equal
    WideText inputTitle, errorTitle, inputText, errorText;
    FormulaTokens formula1, formula2;
    Array<RefArea> areas;
};

// A property that a condition may override.
struct OverrideByte {
    bool present = false;
    u8 value = 0;
};

struct ConditionalCondition {
    u32 type = 1;        // 1 cell value, 2 formula
    u32 comparison = 0;  // 1 between ... 8 less or equal
    FormulaTokens formula1, formula2;
    OverrideByte strikeout, italic, bold, underline;
    bool hasFontColour = false;
    u16 fontColour = 0;
    u32 fontHeight = 0;  // twips, as a file has it, not shown; 0 leaves the cell's own
    bool hasBorders = false;
    OverrideByte leftStyle, rightStyle, topStyle, bottomStyle;
    u8 leftColour = 0, rightColour = 0, topColour = 0, bottomColour = 0;
    bool hasPattern = false;
    OverrideByte pattern, patternColour, backColour;
};

struct ConditionalFormat {
    u16 priority = 0;
    Array<ConditionalCondition> conditions;  // at most three
    Array<RefArea> areas;
};

struct FilterCondition {
    u8 kind = 0;        // 0 none, 6 compare, 12 blank, 14 not blank; 4 a number that is not kept
    u8 comparison = 0;  // 1 less, 2 equal, 3 less or equal, 4 greater, 5 not equal, 6 greater or equal
    WideText text;
};

struct FilterColumn {
    bool top10 = false;
    bool top = true;
    bool percent = false;
    u16 count = 10;  // 1 to 500
    double threshold = 0;
    bool joinOr = false;
    FilterCondition conditions[2];
};

// ---- sheets ---------------------------------------------------------------------------------------

enum SheetKind : i32 { SHEET_MODULE = 6, SHEET_WORKSHEET = 16, SHEET_CHART = 32, SHEET_MACRO = 64 };
constexpr i32 SHEET_WITH_CELLS = 80;  // mask of the kinds that have cells

enum ViewFlags : u16 {
    VIEW_FORMULAS = 1,
    VIEW_GRIDLINES = 2,
    VIEW_HEADERS = 4,
    VIEW_FROZEN = 8,
    VIEW_PROTECTED = 16,
    VIEW_STANDARD_WIDTH = 32,   // default column width is 2048
    VIEW_STANDARD_HEIGHT = 64,  // default row height is 255
    VIEW_HEIGHT_DIFFERS = 128,  // the default height differs from the font's
};

enum FilterState : u16 { FILTER_AUTO = 1, FILTER_ADVANCED = 2 };

// The view of a sheet. While panes are not frozen only the moving pane counts.
struct SheetView {
    u16 activeRow = 0;
    u8 activeColumn = 0;
    RefArea selection;
    u16 firstRow = 0;  // first visible row of the moving pane
    u8 firstColumn = 0;
    u16 frozenFirstRow = 0;  // first visible row of the upper-left pane
    u8 frozenFirstColumn = 0;
    u16 splitRow = 0;  // first row below the split, 0 without one
    u8 splitColumn = 0;
    i32 lastVisibleRow = 0;  // worked out by the layout
    i32 lastVisibleColumn = 0;
};

// A page ends above a row or left of a column; across `first` to `last`.
struct PageBreak {
    u16 at = 0;
    u16 first = 0;
    u16 last = 0;
};

struct PageSettings {
    WideText header, footer;
    double leftMargin = 0, rightMargin = 0, topMargin = 0, bottomMargin = 0;  // inches; 0 is not set
    u8 printHeaders = 0, printGridlines = 0, gridSet = 0, centreHorizontally = 0, centreVertically = 0;
    u8 fitToPage = 0;
    Array<u8> setup;    // SETUP record as read
    Array<u8> printer;  // PLS block in wide form, as read
    u16 guts[4] = {};   // outline gutter sizes
    Array<PageBreak> rowBreaks, columnBreaks;
};

// What a sheet's file says of calculation, protection and outlines, and nothing here acts on.
struct SheetOptions {
    u16 calculationMode = 1, iterations = 100, referenceMode = 1, iteration = 0, recalculateOnSave = 1;
    double precision = 0.001;  // that ends an iteration
    u16 outlines = 1217;       // WSBOOL without the fit to a page
    u16 protectObjects = 0, protectScenarios = 0;
    u16 window = 0xB0;  // flags of the view beside ViewFlags
    u32 gridColour = 64;
    u16 breakZoom = 0, normalZoom = 0;
    u16 tabId = 0;  // 0 none yet
    bool isSplit = false;
    u16 split[5] = {};  // PANE of a view that is split and not frozen
};

struct Sheet {
    char16_t name[MAX_SHEET_NAME + 1] = {};
    i32 zoomPercent = 100;
    i32 kind = SHEET_WORKSHEET;
    i32 hidden = 0;
    i32 kindReserved = 0;

    // Where the sheet stands now; kept up by the book table. The serial is never used twice.
    i32 book = -1;
    i32 index = -1;
    u32 serial = 0;

    u16 viewFlags = 0;
    u16 defaultColumnWidth = 0;
    u16 defaultRowHeight = 0;
    CellStore cells;
    Array<ColumnInfo> columns;  // ascending
    Array<RowInfo> rows;        // ascending
    SheetView view;
    Array<ArrayEntry> arrayFormulas;
    Array<DataTable> dataTables;
    Array<DrawingObject> objects;
    i32 selectedObject = -1;
    Array<ValidationRule> validations;
    Array<Hyperlink> hyperlinks;
    Array<RefArea> mergedAreas;
    Array<ConditionalFormat> conditionalFormats;
    u16 filterState = 0;
    Array<FilterColumn> filterColumns;
    u32 dropDownId = 0;  // object id of the validation drop-down, 0 none
    i32 promptX = 0, promptY = 0;
    u16 passwordHash = 0;
    u8 tabColour = 0;  // palette index, 0 none
    PageSettings page;
    SheetOptions options;
    CarriedRecords carried;
    CellMoves moves;  // since the carried records were read
};

// ---- books ----------------------------------------------------------------------------------------

constexpr i32 PALETTE_SIZE = 64;

// What a book's file says of its window, its protection and the way it is calculated.
struct BookOptions {
    u16 window[9] = {0, 0, 15315, 8970, 56, 0, 0, 1, 600};  // WINDOW1
    u16 protectWindows = 0, protectStructure = 0, passwordHash = 0;
    u16 protectRevisions = 0, revisionPassword = 0;
    u16 backup = 0, hideObjects = 0, precision = 1, refreshAll = 0, saveNoLinks = 0, selfNames = 1;
    u16 functionGroups = 14;
};

struct Workbook {
    WideText path;          // full path, or the untitled name
    u8 biffVersion = 8;     // 8 the 97 form, 7 the 95 form
    u16 codePage = 0;       // converts the book's narrow text
    u16 fileCodePage = 0;   // as the file names it
    u16 textCodePage = 0;   // of the delimited text that the book was read from; 0: it was not
    bool textMark = false;  // that text began with a byte-order mark
    u32 dirty = 0;
    u32 circularSeen = 0;
    u32 palette[PALETTE_SIZE] = {};  // 0x00BBGGRR
    Array<DefinedName> names;
    Array<NumberFormat> numberFormats;
    Array<CellFormat> cellFormats;
    Array<StyleRow> styles;
    Array<FontRecord> fonts;
    Array<Sheet*> sheets;  // owned, in tab order
    i32 currentSheet = 0;
    u32 date1904 = 0;
    u32 showVerticalScrollBar = 1;
    u32 showHorizontalScrollBar = 1;
    u32 showSheetTabs = 1;
    Array<ExternBook> externBooks;
    Array<ExternSheet> externSheets;
    u32 hiddenLink = 0;      // opened in the background to serve links
    bool hasUnkept = false;  // the file held parts of rules or names that have no place here
    bool untitled = false;   // made by CreateWorkbook without a path
    Array<u8> userName;      // WRITEACCESS body behind the length, as read
    u16 userNameLength = 0;
    u16 country[2] = {};
    u8 trust[FOREIGN_USES] = {};  // a BookTrust for each ForeignUse
    WideText wantedLink;          // a file that a formula wanted to read and nobody has been asked about yet
    FileStamp stamp;              // of the file when it was read or written
    BookOptions options;
    CarriedRecords carried;
    Array<CarriedEntry> entries;  // the rest of the container; the first is the root
    u8 entriesForm = 0;           // 7 or 8
    u32 acceptedLosses = 0;       // SaveLoss bits that the user was asked about
    Array<SheetMark> sheetsRead;  // the sheets that the carried bytes speak of
};

// All open books. Indexes shift when a book closes; a reference is fetched anew after any call that
// may open or close one.
struct BookTable {
    Array<Workbook*> books;
    i32 currentBook = -1;
    u32 newBookNumber = 0;
    u32 sheetSerial = 0;
};

}  // namespace tally
