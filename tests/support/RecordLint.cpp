#include "support/RecordLint.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

namespace tally {
namespace {

enum Id : u16 {
    FORMULA = 6,
    EOF_ = 10,
    EXTERNCOUNT = 22,
    EXTERNSHEET = 23,
    NAME = 24,
    SELECTION = 29,
    EXTERNNAME = 35,
    FONT = 49,
    CONTINUE = 60,
    WINDOW1 = 61,
    PLS = 77,
    COLINFO = 125,
    BOUNDSHEET = 133,
    MULRK = 189,
    MULBLANK = 190,
    RSTRING = 214,
    DBCELL = 215,
    XF = 224,
    MERGEDCELLS = 229,
    MSODRAWINGGROUP = 235,
    MSODRAWING = 236,
    SST = 252,
    LABELSST = 253,
    EXTSST = 255,
    TABID = 317,
    SUPBOOK = 430,
    CONDFMT = 432,
    CF = 433,
    DVAL = 434,
    TXO = 438,
    DV = 446,
    DIMENSIONS = 512,
    BLANK = 513,
    NUMBER = 515,
    LABEL = 516,
    BOOLERR = 517,
    STRING = 519,
    ROW = 520,
    INDEX = 523,
    ARRAY = 545,
    TABLE = 566,
    WINDOW2 = 574,
    RK = 638,
    STYLE = 659,
    FORMAT = 1054,
    SHRFMLA = 1212,
    BOF = 2057,
};

// Records in the order in which the published form has them; what stands in no list may stand anywhere. A group
// repeats as a whole.
const std::vector<std::vector<u16>> globals8 = {{134},
                                                {47},
                                                {96},
                                                {225},
                                                {193},
                                                {226},
                                                {92},
                                                {91},
                                                {66},
                                                {441},
                                                {353},
                                                {448},
                                                {317},
                                                {211},
                                                {445},
                                                {442},
                                                {156},
                                                {154},
                                                {25},
                                                {18},
                                                {19},
                                                {431},
                                                {444},
                                                {61},
                                                {64},
                                                {141},
                                                {34},
                                                {14},
                                                {439},
                                                {218},
                                                {FONT},
                                                {FORMAT},
                                                {XF},
                                                {STYLE},
                                                {146},
                                                {4188},
                                                {425},
                                                {352},
                                                {BOUNDSHEET},
                                                {140},
                                                {SUPBOOK, EXTERNNAME, 89, 90},
                                                {EXTERNSHEET},
                                                {NAME, 2196},
                                                {2067},
                                                {449},
                                                {2150},
                                                {MSODRAWINGGROUP},
                                                {237},
                                                {SST},
                                                {EXTSST},
                                                {EOF_}};
const std::vector<std::vector<u16>> globals7 = {
    {225},  {193},        {191}, {192},  {226},    {92},          {91},
    {66},   {211},        {445}, {156},  {154},    {EXTERNCOUNT}, {EXTERNSHEET, EXTERNNAME, 89, 90},
    {NAME}, {25},         {18},  {19},   {61},     {64},          {141},
    {34},   {14},         {218}, {FONT}, {FORMAT}, {XF},          {STYLE},
    {146},  {BOUNDSHEET}, {140}, {EOF_}};
// Cells, their blocks and the drawings between them stand together.
const std::vector<std::vector<u16>> sheetOrder = {
    {94},
    {INDEX},
    {13},
    {12},
    {15},
    {17},
    {16},
    {95},
    {42},
    {43},
    {130},
    {128},
    {549},
    {129},
    {151},
    {152},
    {27},
    {26},
    {20},
    {21},
    {131},
    {132},
    {38},
    {39},
    {40},
    {41},
    {PLS},
    {161},
    {233},
    {18},
    {221},
    {99},
    {19},
    {EXTERNCOUNT, EXTERNSHEET, EXTERNNAME, 89, 90, 85},
    {COLINFO},
    {174, 175},
    {144},
    {2197},
    {155},
    {157, 158, 2174},
    {DIMENSIONS},
    {ROW, FORMULA, MULRK, MULBLANK, RSTRING, DBCELL, LABELSST, BLANK, NUMBER, LABEL, BOOLERR, STRING, ARRAY,
     TABLE, RK, SHRFMLA},
    {MSODRAWING, 93, TXO, 127},
    {2150},
    {28},
    {176, 177, 178, 179, 180, 181, 182},
    {80},
    {WINDOW2},
    {160},
    {65},
    {SELECTION},
    {426, 427},
    {153},
    {MERGEDCELLS},
    {351},
    {239},
    {CONDFMT, CF},
    {440},
    {DVAL, DV},
    {442},
    {2146},
    {EOF_}};

struct Lint {
    const std::vector<u8>& bytes;
    u8 form;
    bool read;
    std::vector<std::string> findings;
    // of the globals
    u32 fonts = 0, xfs = 0, names = 0, links = 0, books = 0, strings = 0;
    std::vector<bool> styleXf;
    std::vector<u16> xfFonts, xfFormats;
    std::set<u16> formats;
    std::vector<u32> sheetPlaces;
    u32 activeTab = 0;
    std::set<u16> unordered;
};

struct Body {
    u16 id = 0;
    std::size_t at = 0;  // of the header, in the stream
    const u8* data = nullptr;
    std::size_t size = 0;
    u32 Byte(std::size_t i) const { return i < size ? data[i] : 0; }
    u32 Word(std::size_t i) const { return Byte(i) | Byte(i + 1) << 8; }
    u32 Long(std::size_t i) const { return Word(i) | Word(i + 2) << 16; }
};

void Say(Lint& lint, const Body& record, const std::string& what) {
    lint.findings.push_back("record " + std::to_string(record.id) + " at " + std::to_string(record.at) + ": " +
                            what);
}
void Want(Lint& lint, bool good, const Body& record, const std::string& what) {
    if (!good) Say(lint, record, what);
}

bool ReadBody(const Lint& lint, std::size_t at, Body& out) {
    if (at + 4 > lint.bytes.size()) return false;
    out.at = at;
    out.data = lint.bytes.data() + at;
    out.size = lint.bytes.size() - at;
    out.id = static_cast<u16>(out.Word(0));
    const std::size_t size = out.Word(2);
    out.data += 4;
    out.size = size;
    return at + 4 + size <= lint.bytes.size();
}

// ---- framing, substreams and the order in them --------------------------------------------------------------

bool MayGoOn(u16 id, u8 form) {
    constexpr u16 both[] = {PLS, 127, 28};
    constexpr u16 newer[] = {SST, STRING, MSODRAWINGGROUP, MSODRAWING, TXO, EXTERNSHEET, SUPBOOK, TABID, 93,
                             182, 220};
    if (std::find(std::begin(both), std::end(both), id) != std::end(both)) return true;
    return form == 8 && std::find(std::begin(newer), std::end(newer), id) != std::end(newer);
}

struct Substream {
    u16 type = 0;
    std::vector<Body> records;  // BOF to EOF, those of substreams inside left out
};

void CheckOrder(Lint& lint, const Substream& stream, const std::vector<std::vector<u16>>& order) {
    std::map<u16, std::size_t> rank;
    for (std::size_t i = 0; i < order.size(); ++i) {
        for (u16 id : order[i]) rank[id] = i;
    }
    std::size_t reached = 0;
    bool custom = false;
    for (std::size_t i = 1; i < stream.records.size(); ++i) {
        const Body& record = stream.records[i];
        if (record.id == 426) custom = true;
        if (record.id == 427) custom = false;
        if (custom || record.id == CONTINUE || !rank.count(record.id)) continue;
        Want(lint, rank[record.id] >= reached, record, "stands behind what follows it in the published order");
        reached = std::max(reached, rank[record.id]);
    }
}

std::vector<Substream> Frame(Lint& lint) {
    const std::size_t most = lint.form == 8 ? 8224 : 2080;
    std::vector<Substream> done, open;
    Body record;
    u16 before = 0;
    std::size_t at = 0;
    for (; at < lint.bytes.size(); at += 4 + record.size) {
        // What fills up the stream.
        if (open.empty() &&
            std::all_of(lint.bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        lint.bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + 4, lint.bytes.size())),
                        [](u8 byte) { return byte == 0; }))
            break;
        if (!ReadBody(lint, at, record)) {
            lint.findings.push_back("the stream ends inside the record at " + std::to_string(at));
            break;
        }
        Want(lint, record.size <= most, record, "longer than " + std::to_string(most) + " bytes");
        if (record.id == BOF) {
            Want(lint, record.size == (lint.form == 8 ? 16u : 8u), record, "length of BOF");
            // Sheets of the older form may name the newer one: the BOF of the globals decides.
            const u32 version = record.Word(0);
            const bool oldSheet = lint.form == 7 && record.Word(2) != 5 && version == 0x600;
            Want(lint, version == (lint.form == 8 ? 0x600u : 0x500u) || oldSheet, record, "version in BOF");
            open.push_back({static_cast<u16>(record.Word(2)), {}});
        }
        if (open.empty()) {
            Say(lint, record, "outside of any substream");
            continue;
        }
        if (record.id == CONTINUE)
            Want(lint, MayGoOn(before, lint.form), record, "behind a record that does not go on");
        if (record.id != CONTINUE) before = record.id;
        open.back().records.push_back(record);
        if (record.id != EOF_) continue;
        Want(lint, record.size == 0, record, "EOF with a body");
        if (open.size() == 1) done.push_back(open.back());
        open.pop_back();
    }
    if (!open.empty()) lint.findings.push_back("a substream without its EOF");
    for (; at < lint.bytes.size(); ++at) {
        if (lint.bytes[at]) {
            lint.findings.push_back("bytes behind the last substream at " + std::to_string(at));
            break;
        }
    }
    return done;
}

// ---- strings ------------------------------------------------------------------------------------------------

// The bytes of a text of `count` characters behind its count, checked; npos where it does not fit the record.
std::size_t TextSize(Lint& lint, const Body& record, std::size_t at, std::size_t count) {
    if (lint.form != 8) {
        Want(lint, at + count <= record.size, record, "a text that the record ends");
        return count;
    }
    const u32 option = record.Byte(at);
    Want(lint, option <= 1, record, "option byte " + std::to_string(option));
    const std::size_t size = 1 + count * (option & 1 ? 2 : 1);
    Want(lint, at + size <= record.size, record, "a text that the record ends");
    return size;
}

// A text that ends its record.
void CheckLastText(Lint& lint, const Body& record, std::size_t countAt, std::size_t countBytes,
                   std::size_t least, std::size_t most) {
    const std::size_t count = countBytes == 1 ? record.Byte(countAt) : record.Word(countAt);
    Want(lint, count >= least && count <= most, record, "text of " + std::to_string(count) + " characters");
    const std::size_t at = countAt + countBytes;
    Want(lint, at + TextSize(lint, record, at, count) == record.size, record, "bytes behind the text");
}

// Counts the strings of the table and walks over record ends.
struct StringWalk {
    Lint& lint;
    const std::vector<Body>& records;
    std::size_t index;
    std::size_t at;
    const Body& Record() const { return records[index]; }
    bool Next() {
        if (index + 1 >= records.size() || records[index + 1].id != CONTINUE) return false;
        ++index;
        at = 0;
        return true;
    }
};

bool WalkString(StringWalk& w) {
    if (w.at == w.Record().size && !w.Next()) return false;
    Want(w.lint, w.at + 3 <= w.Record().size, w.Record(), "the head of a string is cut");
    std::size_t left = w.Record().Word(w.at);
    u32 option = w.Record().Byte(w.at + 2);
    Want(w.lint, (option & ~13u) == 0, w.Record(), "option byte of a shared string");
    Want(w.lint, left <= 32767, w.Record(), "a shared string longer than 32767 characters");
    w.at += 3;
    std::size_t tail = 0;
    if (option & 8) tail += w.Record().Word(w.at) * 4, w.at += 2;
    if (option & 4) tail += w.Record().Long(w.at), w.at += 4;
    while (left) {
        const std::size_t width = option & 1 ? 2 : 1;
        const std::size_t room = w.at < w.Record().size ? (w.Record().size - w.at) / width : 0;
        const std::size_t taken = std::min(room, left);
        w.at += taken * width;
        left -= taken;
        if (!left) break;
        Want(w.lint, w.at == w.Record().size, w.Record(), "a character is cut in two");
        if (!w.Next()) return false;
        option = w.Record().Byte(0);
        Want(w.lint, option <= 1, w.Record(), "option byte of a continued string");
        w.at = 1;
    }
    while (tail > w.Record().size - w.at) {
        tail -= w.Record().size - w.at;
        if (!w.Next()) return false;
    }
    w.at += tail;
    return true;
}

void CheckStringTable(Lint& lint, const Substream& globals) {
    for (std::size_t i = 0; i < globals.records.size(); ++i) {
        const Body& record = globals.records[i];
        if (record.id != SST) continue;
        lint.strings = record.Long(4);
        Want(lint, record.Long(0) >= lint.strings, record, "fewer uses than strings");
        StringWalk w{lint, globals.records, i, 8};
        std::vector<std::size_t> starts;
        for (u32 n = 0; n < lint.strings; ++n) {
            if (w.at == w.Record().size) w.Next();
            starts.push_back(w.Record().at + 4 + w.at);
            if (!WalkString(w)) {
                Say(lint, record,
                    "ends at string " + std::to_string(n) + " of " + std::to_string(lint.strings));
                return;
            }
        }
        Want(lint, w.at == w.Record().size, record, "bytes behind the last string");
        const std::size_t behind = w.index + 1;
        Want(lint, globals.records[behind].id == EXTSST, record, "no EXTSST behind it");
        const Body& index = globals.records[behind];
        const u32 bucket = index.Word(0);
        Want(lint, bucket >= 8, index, "a bucket of less than 8");
        const u32 buckets = bucket ? (lint.strings + bucket - 1) / bucket : 0;
        Want(lint, index.size == 2 + buckets * 8, index, "count of buckets");
        for (u32 b = 0; b < buckets; ++b)
            Want(lint, index.Long(2 + b * 8) == starts[b * bucket], index, "place of a bucket");
    }
}

// ---- globals ------------------------------------------------------------------------------------------------

std::string NameKey(const Body& record, u8 form) {
    const std::size_t start = form == 8 ? 15 : 14;
    const std::size_t size = record.Byte(3) * (form == 8 && (record.Byte(14) & 1) ? 2 : 1);
    std::string key = std::to_string(record.Word(form == 8 ? 8 : 6)) + ((record.Word(0) & 0x20) ? "b" : "t");
    for (std::size_t i = 0; i < size; ++i)
        key += static_cast<char>(std::tolower(static_cast<int>(record.Byte(start + i))));
    return key;
}

void CheckName(Lint& lint, const Body& record, std::set<std::string>& seen) {
    ++lint.names;
    Want(lint, record.Byte(3) > 0, record, "a name without a text");
    const std::size_t text = TextSize(lint, record, 14, record.Byte(3));
    Want(lint, 14 + text + record.Word(4) <= record.size, record, "tokens that the record ends");
    Want(lint, seen.insert(NameKey(record, lint.form)).second || lint.read, record,
         "a name for the second time");
}

void CheckBoundSheet(Lint& lint, const Body& record, std::set<std::string>& seen) {
    lint.sheetPlaces.push_back(record.Long(0));
    CheckLastText(lint, record, 6, 1, 1, 31);
    Want(lint, record.Byte(4) <= 2, record, "visibility");
    std::string key;
    for (std::size_t i = 7; i < record.size; ++i)
        key += static_cast<char>(std::tolower(static_cast<int>(record.Byte(i))));
    Want(lint, seen.insert(key).second, record, "a sheet's name for the second time");
}

void CheckXf(Lint& lint, const Body& record) {
    Want(lint, record.size == (lint.form == 8 ? 20u : 16u), record, "length");
    const bool style = record.Word(4) & 4;
    lint.styleXf.push_back(style);
    lint.xfFonts.push_back(static_cast<u16>(record.Word(0)));
    lint.xfFormats.push_back(static_cast<u16>(record.Word(2)));
    const u32 parent = record.Word(4) >> 4;
    Want(lint, style ? parent == 0xFFF : parent < 0xFFF, record, "parent " + std::to_string(parent));
    ++lint.xfs;
}

void CheckGlobal(Lint& lint, const Body& record, std::set<std::string>& names, std::set<std::string>& sheets) {
    switch (record.id) {
        case FONT:
            ++lint.fonts;
            CheckLastText(lint, record, 14, 1, 0, 31);
            break;
        case FORMAT:
            CheckLastText(lint, record, 2, lint.form == 8 ? 2 : 1, lint.read ? 0 : 1, 255);
            Want(lint, lint.formats.insert(static_cast<u16>(record.Word(0))).second, record,
                 "an id for the second time");
            break;
        case XF: CheckXf(lint, record); break;
        case STYLE: {
            const std::size_t row = record.Word(0) & 0xFFF;
            Want(lint, row < lint.styleXf.size() && (lint.styleXf[row] || lint.read), record,
                 "its XF is no style's");
            break;
        }

        case WINDOW1: lint.activeTab = record.Word(10); break;
        case BOUNDSHEET: CheckBoundSheet(lint, record, sheets); break;
        case SUPBOOK: ++lint.books; break;
        case EXTERNSHEET:
            if (lint.form == 8) lint.links = record.Word(0);
            break;
        case NAME: CheckName(lint, record, names); break;
        case 317: Want(lint, record.size % 2 == 0, record, "length"); break;
        case 92: Want(lint, record.size == (lint.form == 8 ? 112u : 32u), record, "length"); break;
        default: break;
    }
}

bool IsBuiltInFormat(u16 id) { return id <= 49; }

void CheckGlobals(Lint& lint, const Substream& globals) {
    std::set<std::string> names, sheets;
    for (const Body& record : globals.records) CheckGlobal(lint, record, names, sheets);
    const Body& bof = globals.records[0];
    Want(lint, globals.type == 5, bof, "the first substream is not the globals");
    Want(lint, lint.fonts >= 1, bof, "no font");
    Want(lint, lint.xfs >= 16, bof, "fewer than 16 cell formats");
    Want(lint, lint.activeTab < lint.sheetPlaces.size(), bof, "the active sheet is none");
    for (std::size_t i = 0; i < lint.xfs; ++i) {
        const u16 font = lint.xfFonts[i];
        Want(lint, font != 4 && (font < 4 ? font : font - 1u) < lint.fonts, bof,
             "font of XF " + std::to_string(i));
        Want(lint, IsBuiltInFormat(lint.xfFormats[i]) || lint.formats.count(lint.xfFormats[i]), bof,
             "number format " + std::to_string(lint.xfFormats[i]) + " of XF " + std::to_string(i));
    }
    // Links lead to books and sheets.
    for (const Body& record : globals.records) {
        if (record.id == EXTERNSHEET && lint.form == 8) {
            for (std::size_t at = 2; at + 6 <= record.size; at += 6)
                Want(lint, record.Word(at) < lint.books, record, "a link to no book");
        }
        if (record.id == NAME && lint.form == 8)
            Want(lint, record.Word(8) <= lint.sheetPlaces.size(), record, "the sheet of a name");
    }
    CheckOrder(lint, globals, lint.form == 8 ? globals8 : globals7);
    CheckStringTable(lint, globals);
}

// ---- sheets -------------------------------------------------------------------------------------------------

struct SheetLint {
    Lint& lint;
    const Substream& stream;
    u32 firstRow = 0, endRow = 0, firstColumn = 0, endColumn = 0;
    i64 lastCell = -1;
    i64 lastRow = -1;
    i64 lastColumnInfo = -1;
    std::vector<std::size_t> blocks = {};     // of DBCELL records
    std::map<u32, std::size_t> rowAt = {};    // ROW records
    std::map<u32, std::size_t> cellsAt = {};  // first cell records of rows
};

void CheckXfIndex(SheetLint& s, const Body& record, u32 xf) {
    Want(s.lint, xf < s.lint.xfs, record, "cell format " + std::to_string(xf));
    if (xf < s.lint.xfs && !s.lint.read) Want(s.lint, !s.lint.styleXf[xf], record, "the format of a style");
}

void CheckCellPlace(SheetLint& s, const Body& record, u32 row, u32 first, u32 last) {
    Want(s.lint, row >= s.firstRow && row < s.endRow, record, "row outside of DIMENSIONS");
    Want(s.lint, first >= s.firstColumn && last < s.endColumn, record, "column outside of DIMENSIONS");
    Want(s.lint, first <= last && last < 256, record, "columns");
    Want(s.lint, i64{row} * 256 + first > s.lastCell, record, "a cell behind one that follows it");
    s.lastCell = i64{row} * 256 + last;
    s.cellsAt.emplace(row, record.at);
    Want(s.lint, s.rowAt.count(row) != 0, record, "a cell without its ROW");
}

void CheckFormula(SheetLint& s, std::size_t i) {
    const Body& record = s.stream.records[i];
    Want(s.lint, 22 + record.Word(20) <= record.size, record, "tokens that the record ends");
    Want(s.lint, record.Word(20) > 0, record, "no tokens");
    const bool text = record.Word(12) == 0xFFFF && record.Byte(6) == 0;
    std::size_t next = i + 1;
    const u16 behind = s.stream.records[next].id;
    if (behind == ARRAY || behind == SHRFMLA || behind == TABLE) {
        const u32 token = record.Byte(22);
        Want(s.lint, record.Word(20) == 5 && (token == 1 || token == 2), record,
             "no ptgExp in front of an array");
        ++next;
    }
    Want(s.lint, text == (s.stream.records[next].id == STRING), record, "STRING behind a text result only");
}

void CheckCells(SheetLint& s, std::size_t i) {
    const Body& record = s.stream.records[i];
    const u32 row = record.Word(0), column = record.Word(2);
    switch (record.id) {
        case MULRK:
        case MULBLANK: {
            const u32 width = record.id == MULRK ? 6 : 2;
            const u32 last = record.Word(record.size - 2);
            CheckCellPlace(s, record, row, column, last);
            Want(s.lint, record.size == 6 + std::size_t{last - column + 1} * width, record, "length");
            Want(s.lint, last > column, record, "one cell alone");
            for (u32 c = column; c <= last; ++c) CheckXfIndex(s, record, record.Word(4 + (c - column) * width));
            return;
        }
        case FORMULA: CheckFormula(s, i); break;
        case LABEL:
            Want(s.lint, s.lint.form == 7, record, "in the newer form");
            CheckLastText(s.lint, record, 6, 2, 0, 32767);
            break;
        case RSTRING: {
            const std::size_t text = record.Word(6);
            Want(s.lint, s.lint.form == 7, record, "in the newer form");
            Want(s.lint, record.size == 9 + text + record.Byte(8 + text) * 2u, record, "runs");
            break;
        }
        case LABELSST:
            Want(s.lint, record.size == 10 && record.Long(6) < s.lint.strings, record, "shared string");
            break;
        case RK: Want(s.lint, record.size == 10, record, "length"); break;
        case NUMBER: Want(s.lint, record.size == 14, record, "length"); break;
        case BLANK: Want(s.lint, record.size == 6, record, "length"); break;
        case BOOLERR: Want(s.lint, record.size == 8 && record.Byte(7) <= 1, record, "length or kind"); break;
        default: return;
    }
    CheckCellPlace(s, record, row, column, column);
    CheckXfIndex(s, record, record.Word(4));
}

struct Area {
    u32 firstRow, lastRow, firstColumn, lastColumn;
};
bool Touch(const Area& a, const Area& b) {
    return a.firstRow <= b.lastRow && b.firstRow <= a.lastRow && a.firstColumn <= b.lastColumn &&
           b.firstColumn <= a.lastColumn;
}

// Merged areas, all of the sheet's: in order, and none touches another. A sweep down the rows.
void CheckMerges(SheetLint& s) {
    std::vector<Area> all, open;
    for (const Body& record : s.stream.records) {
        if (record.id != MERGEDCELLS) continue;
        Want(s.lint, record.size == 2 + record.Word(0) * 8, record, "length");
        for (std::size_t at = 2; at + 8 <= record.size; at += 8) {
            const Area area = {record.Word(at), record.Word(at + 2), record.Word(at + 4), record.Word(at + 6)};
            Want(s.lint,
                 area.firstRow <= area.lastRow && area.firstColumn <= area.lastColumn && area.lastColumn < 256,
                 record, "corners");
            Want(s.lint, area.firstRow < area.lastRow || area.firstColumn < area.lastColumn, record,
                 "a single cell");
            if (!all.empty())
                Want(s.lint,
                     area.firstRow > all.back().firstRow ||
                         (area.firstRow == all.back().firstRow && area.firstColumn > all.back().firstColumn),
                     record, "merged areas out of order");
            std::erase_if(open, [&](const Area& o) { return o.lastRow < area.firstRow; });
            for (const Area& o : open) Want(s.lint, !Touch(o, area), record, "merged areas that touch");
            open.push_back(area);
            all.push_back(area);
        }
    }
}

void CheckIndex(SheetLint& s, const Body& index) {
    const u8 form = s.lint.form;
    const std::size_t head = form == 8 ? 16 : 12;
    Want(s.lint, index.size == head + s.blocks.size() * 4, index, "count of blocks");
    for (std::size_t b = 0; b < s.blocks.size() && head + b * 4 < index.size; ++b) {
        Want(s.lint, index.Long(head + b * 4) == s.blocks[b], index, "place of a block");
        Body block;
        if (!ReadBody(s.lint, s.blocks[b], block)) continue;
        const std::size_t firstRow = block.at - block.Long(0);
        Body row;
        if (!ReadBody(s.lint, firstRow, row) || row.id != ROW) {
            Say(s.lint, block, "does not lead to a ROW");
            continue;
        }
        std::size_t at = firstRow + 20;
        u32 number = row.Word(0);
        for (std::size_t i = 4; i + 2 <= block.size; i += 2, ++number) {
            at += block.Word(i);
            const auto cells = s.cellsAt.find(number);
            if (cells != s.cellsAt.end())
                Want(s.lint, (cells->second - at) % 65536 == 0, block,
                     "place of row " + std::to_string(number));
        }
    }
}

void CheckSheetRecord(SheetLint& s, std::size_t i) {
    const Body& record = s.stream.records[i];
    switch (record.id) {
        case DIMENSIONS: {
            const bool wide = s.lint.form == 8;
            Want(s.lint, record.size == (wide ? 14u : 10u), record, "length");
            s.firstRow = wide ? record.Long(0) : record.Word(0);
            s.endRow = wide ? record.Long(4) : record.Word(2);
            s.firstColumn = record.Word(wide ? 8 : 4);
            s.endColumn = record.Word(wide ? 10 : 6);
            Want(s.lint, s.endRow <= (wide ? 65536u : 16384u) && s.endColumn <= 256, record,
                 "beyond the sheet");
            break;
        }
        case COLINFO:
            Want(s.lint, record.size >= 11 && record.size <= 12, record, "length");
            Want(s.lint, i64{record.Word(0)} > s.lastColumnInfo && record.Word(0) <= record.Word(2), record,
                 "columns");
            Want(s.lint, record.Word(2) <= 255, record, "beyond the last column");
            s.lastColumnInfo = record.Word(2);
            CheckXfIndex(s, record, record.Word(6));
            break;
        case ROW:
            Want(s.lint, record.size == 16, record, "length");
            Want(s.lint, i64{record.Word(0)} > s.lastRow, record, "rows out of order");
            Want(s.lint, record.Word(2) <= record.Word(4) && record.Word(4) <= 256, record, "columns");
            s.lastRow = record.Word(0);
            s.rowAt[record.Word(0)] = record.at;
            // A row that tells a format of its own.
            if (record.Byte(12) & 0x80) CheckXfIndex(s, record, record.Word(14) & 0xFFF);
            break;
        case DBCELL: s.blocks.push_back(record.at); break;
        case SELECTION:
            Want(s.lint, record.size == 9 + record.Word(7) * 6 && record.Word(7) > 0, record, "length");
            Want(s.lint, record.Word(5) < record.Word(7), record, "active reference");
            break;
        case CONDFMT: Want(s.lint, record.size == 14 + record.Word(12) * 8, record, "length"); break;
        default: CheckCells(s, i); break;
    }
}

void CheckSheet(Lint& lint, const Substream& stream, bool selected) {
    SheetLint s{lint, stream};
    CheckOrder(lint, stream, sheetOrder);
    for (std::size_t i = 0; i < stream.records.size(); ++i) CheckSheetRecord(s, i);
    CheckMerges(s);
    u32 dimensions = 0, views = 0, rules = 0, promised = 0;
    for (const Body& record : stream.records) {
        if (record.id == INDEX) CheckIndex(s, record);
        if (record.id == WINDOW2) {
            ++views;
            Want(lint, ((record.Byte(1) & 4) != 0) == selected, record, "shown though another sheet is active");
        }
        dimensions += record.id == DIMENSIONS;
        rules += record.id == DV;
        if (record.id == DVAL) promised = record.Long(14);
    }
    Want(lint, dimensions == 1, stream.records[0], "DIMENSIONS once");
    Want(lint, views >= 1, stream.records[0], "no WINDOW2");
    Want(lint, rules == promised, stream.records[0], "count of validation rules");
}

}  // namespace

std::vector<std::string> LintWorkbook(const std::vector<u8>& bytes, u8 form, bool read) {
    Lint lint{bytes, form, read, {}, 0, 0, 0, 0, 0, 0, {}, {}, {}, {}, {}, 0, {}};
    const std::vector<Substream> streams = Frame(lint);
    if (streams.empty()) {
        lint.findings.push_back("no substream");
        return lint.findings;
    }
    CheckGlobals(lint, streams[0]);
    if (streams.size() != lint.sheetPlaces.size() + 1)
        lint.findings.push_back(std::to_string(streams.size() - 1) + " sheets, " +
                                std::to_string(lint.sheetPlaces.size()) + " in the list");
    for (std::size_t i = 1; i < streams.size(); ++i) {
        const Body& bof = streams[i].records[0];
        const auto place = std::find(lint.sheetPlaces.begin(), lint.sheetPlaces.end(), bof.at);
        Want(lint, place != lint.sheetPlaces.end(), bof, "a sheet that the list does not lead to");
        const bool selected = static_cast<u32>(place - lint.sheetPlaces.begin()) == lint.activeTab;
        if (streams[i].type == 16 || streams[i].type == 64) CheckSheet(lint, streams[i], selected);
    }
    return lint.findings;
}

std::string LintText(const std::vector<std::string>& findings, std::size_t most) {
    std::string text;
    for (std::size_t i = 0; i < findings.size() && i < most; ++i) text += findings[i] + "\n";
    if (findings.size() > most) text += "and " + std::to_string(findings.size() - most) + " more\n";
    return text;
}

}  // namespace tally
