#include "fileio/SaveTest.h"

#include "fileio/CompoundReader.h"
#include "functions/Random.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/headless/HeadlessPlatform.h"

namespace tally {

void Saving::SetUp() {
    Sandbox::SetUp();
    Headless().filesInMemory = true;
}

void Saving::Save(u8 form) {
    CurrentWorkbook()->biffVersion = form;
    losses = 0;
    ASSERT_TRUE(WriteBookFile(CurrentBook(), u"a.xls", FILE_XLS, losses));
}

void Saving::Reopen() {
    ResetBooks();
    Random() = RandomState();
    ASSERT_TRUE(OpenFile(u"a.xls", OPEN_SILENT_LINKS));
}

void Saving::ExpectReturn(u8 form, u32 parts) {
    Save(form);
    const auto before = DumpBook(CurrentBook(), parts, form == 7);
    Reopen();
    EXPECT_EQ(CurrentWorkbook()->biffVersion, form);
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook(), parts, form == 7)), "") << "form " << int{form};
}

std::vector<u8> Saving::File() const {
    const MemoryFile* file = FindMemoryFile(u"a.xls");
    return file ? std::vector<u8>(file->bytes.begin(), file->bytes.end()) : std::vector<u8>();
}

std::vector<u8> Saving::Stream() const {
    const std::vector<u8> file = File();
    Array<u8> pieces;
    ByteView stream;
    if (ReadCompoundStream(file, u"Workbook", pieces, stream) != STREAM_READ &&
        ReadCompoundStream(file, u"Book", pieces, stream) != STREAM_READ) {
        return {};
    }
    return {stream.begin(), stream.end()};
}

std::vector<WrittenRecord> Saving::Records() const {
    const std::vector<u8> bytes = Stream();
    std::vector<WrittenRecord> out;
    BiffStream stream{bytes};
    BiffRecord record;
    for (std::size_t at = 0; NextRecord(stream, record); at = stream.position) {
        if (!record.id) break;  // what fills the stream up
        out.push_back({record.id, at, {record.body.begin(), record.body.end()}});
    }
    return out;
}

std::vector<u16> Saving::Ids() const {
    std::vector<u16> ids;
    for (const WrittenRecord& record : Records()) ids.push_back(record.id);
    return ids;
}

std::vector<WrittenRecord> Saving::Find(u16 id) const {
    std::vector<WrittenRecord> out;
    for (WrittenRecord& record : Records()) {
        if (record.id == id) out.push_back(std::move(record));
    }
    return out;
}

void Saving::Put(i32 row, i32 column, double number, u16 format) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, format, NumberValue(number), FormulaTokens()));
}

void Saving::PutText(i32 row, i32 column, std::u16string_view text, u16 format) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, format, TextValue(text), FormulaTokens()));
}

void Saving::PutBlank(i32 row, i32 column, u16 format) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, format, Value(), FormulaTokens()));
}

void Saving::AddSheet(std::u16string_view name, i32 kind) {
    const WideView view = name;
    ASSERT_TRUE(InsertSheet(static_cast<i32>(CurrentWorkbook()->sheets.Count()), &view, kind, false, false));
}

u16 Saving::FormatWith(u16 numberFormat) {
    CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
    format.numberFormat = numberFormat;
    u16 index = 0;
    EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
    return index;
}

FormulaTokens Saving::Tokens(std::initializer_list<u8> bytes) {
    FormulaTokens tokens;
    EXPECT_TRUE(MakeTokens(tokens, ByteView(bytes.begin(), bytes.size()), {}));
    return tokens;
}

}  // namespace tally
