#include <algorithm>
#include <map>

#include "fileio/OpenFile.h"
#include "fileio/compound/CompoundTree.h"
#include "support/FileLister.h"
#include "support/Saving.h"

// A record that nothing here understands, behind every record that a save writes.

namespace tally {
namespace {

using Bytes = std::vector<u8>;

constexpr u16 CONTINUE = 60, BOUNDSHEET = 133, FNGROUPCOUNT = 156, BOF = 2057, FIRST_STRANGE = 5000;

class CarriedOrder : public Saving {
  protected:
    static void Append(Bytes& out, u16 id, const Bytes& body) {
        for (const std::size_t word : {std::size_t{id}, body.size()}) {
            out.push_back(static_cast<u8>(word));
            out.push_back(static_cast<u8>(word >> 8));
        }
        out.insert(out.end(), body.begin(), body.end());
    }
    // The stream that was saved last with those records in it, and how many they are.
    Bytes Strewn(u32& count) const {
        Bytes out;
        std::map<std::size_t, std::size_t> places;
        std::vector<std::size_t> sheets;
        const auto records = Records();
        bool kept = false;  // the substream of a chart or module comes back as it is
        count = 0;
        for (std::size_t i = 0; i < records.size(); ++i) {
            const WrittenRecord& record = records[i];
            places[record.at] = out.size();
            if (record.id == BOUNDSHEET) sheets.push_back(out.size() + 4);
            if (record.id == BOF) kept = record.Word(2) == SHEET_MODULE || record.Word(2) == SHEET_CHART;
            Append(out, record.id, record.body);
            const bool whole = record.id == 10 || kept || records[i + 1].id == CONTINUE;
            // The count of function groups has another place in the older form than its kin.
            if (!whole && record.id != FNGROUPCOUNT)
                Append(out, static_cast<u16>(FIRST_STRANGE + count++), {static_cast<u8>(count), 7});
        }
        for (const std::size_t at : sheets)
            PutU32(out.data() + at, static_cast<u32>(places.at(LongAt(out, at))));
        return out;
    }
    std::vector<unsigned> StrangeIds() const {
        std::vector<unsigned> ids;
        for (const ListedSubstream& substream : ListFile(File()).substreams)
            for (const ListedRecord& record : substream.records)
                if (record.id >= FIRST_STRANGE) ids.push_back(record.id);
        return ids;
    }
    void SaveStrewn(u8 form) {
        Save(form);
        u32 count = 0;
        const Bytes stream = Strewn(count);
        Array<u8> file;
        ASSERT_TRUE(BuildCompoundFile(stream, form, file));
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", file.Span(), OPEN_SILENT_LINKS));
        Save(form);
        EXPECT_EQ(losses, 0u);
        std::vector<unsigned> all(count);
        for (u32 i = 0; i < count; ++i) all[i] = FIRST_STRANGE + i;
        EXPECT_EQ(StrangeIds(), all) << int{form};
        const Bytes first = File();
        Reopen();
        Save(form);
        EXPECT_EQ(File(), first) << int{form};
    }
};

TEST_F(CarriedOrder, OfAFreshBook) {
    for (const u8 form : {u8{8}, u8{7}}) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        SaveStrewn(form);
    }
}

TEST_F(CarriedOrder, OfABookOfEverything) {
    for (const u8 form : {u8{8}, u8{7}}) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        MakeRichBook();
        if (form == 7) {
            // What the older form has no room for.
            CurrentWorkbook()->currentSheet = 0;
            Save(7);
            Reopen();
        }
        SaveStrewn(form);
    }
}

}  // namespace
}  // namespace tally
