#pragma once
// What the tests of saving share: a book saved into memory and taken apart again.

#include <vector>

#include "fileio/SaveFile.h"
#include "fileio/biff/BiffReader.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {

struct WrittenRecord {
    u16 id = 0;
    std::size_t at = 0;  // in the stream
    std::vector<u8> body;
    u32 Word(std::size_t offset) const { return WordAt(body, offset); }
    u32 Long(std::size_t offset) const { return LongAt(body, offset); }
};

class Saving : public Sandbox {
  protected:
    void SetUp() override;

    // Saves the current book as "a.xls" in that form (8 or 7); the losses are kept.
    void Save(u8 form = 8);
    // Reads back what was saved last, in place of all books.
    void Reopen();
    // The same in one step; true when the book comes back as it was, as far as `parts` go.
    void ExpectReturn(u8 form, u32 parts = DUMP_ALL);

    std::vector<u8> File() const;
    std::vector<u8> Stream() const;
    std::vector<WrittenRecord> Records() const;
    std::vector<u16> Ids() const;
    // All records of that number.
    std::vector<WrittenRecord> Find(u16 id) const;

    static void Put(i32 row, i32 column, double number, u16 format = 15);
    static void PutText(i32 row, i32 column, std::u16string_view text, u16 format = 15);
    static void PutBlank(i32 row, i32 column, u16 format);
    static void AddSheet(std::u16string_view name, i32 kind = SHEET_WORKSHEET);
    static u16 FormatWith(u16 numberFormat);
    // Fills the current book, a new one, with something of everything that a save knows.
    static void MakeRichBook();
    // Adds to the current book what only files bring: links with their values, runs of texts, carried records
    // and entries of the container, in that form.
    static void AddKept(u8 form);
    static FormulaTokens Tokens(std::initializer_list<u8> bytes);

    u32 losses = 0;
};

}  // namespace tally
