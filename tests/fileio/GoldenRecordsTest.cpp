#include "support/Golden.h"
#include "support/Saving.h"

// Every byte of a saved book beside a kept dump of its records, one line a record. After a change that is
// meant:
//   TALLYMAN_RENEW_GOLDEN=1 build/dev/test_fileio --gtest_filter='GoldenRecords*'
// and look at the difference before it is committed.

namespace tally {
namespace {

struct RecordName {
    u16 id;
    const char* name;
};
constexpr RecordName recordNames[] = {
    {6, "FORMULA"},
    {10, "EOF"},
    {12, "CALCCOUNT"},
    {13, "CALCMODE"},
    {14, "PRECISION"},
    {15, "REFMODE"},
    {16, "DELTA"},
    {17, "ITERATION"},
    {18, "PROTECT"},
    {19, "PASSWORD"},
    {20, "HEADER"},
    {21, "FOOTER"},
    {22, "EXTERNCOUNT"},
    {23, "EXTERNSHEET"},
    {24, "NAME"},
    {25, "WINDOWPROTECT"},
    {29, "SELECTION"},
    {34, "1904"},
    {35, "EXTERNNAME"},
    {38, "LEFTMARGIN"},
    {39, "RIGHTMARGIN"},
    {40, "TOPMARGIN"},
    {41, "BOTTOMMARGIN"},
    {42, "PRINTHEADERS"},
    {43, "PRINTGRIDLINES"},
    {49, "FONT"},
    {60, "CONTINUE"},
    {61, "WINDOW1"},
    {64, "BACKUP"},
    {65, "PANE"},
    {66, "CODEPAGE"},
    {77, "PLS"},
    {85, "DEFCOLWIDTH"},
    {92, "WRITEACCESS"},
    {95, "SAVERECALC"},
    {125, "COLINFO"},
    {128, "GUTS"},
    {129, "WSBOOL"},
    {130, "GRIDSET"},
    {131, "HCENTER"},
    {132, "VCENTER"},
    {133, "BOUNDSHEET"},
    {140, "COUNTRY"},
    {141, "HIDEOBJ"},
    {146, "PALETTE"},
    {153, "STANDARDWIDTH"},
    {155, "FILTERMODE"},
    {156, "FNGROUPCOUNT"},
    {157, "AUTOFILTERINFO"},
    {158, "AUTOFILTER"},
    {160, "SCL"},
    {161, "SETUP"},
    {189, "MULRK"},
    {190, "MULBLANK"},
    {191, "TOOLBARHDR"},
    {192, "TOOLBAREND"},
    {193, "MMS"},
    {215, "DBCELL"},
    {218, "BOOKBOOL"},
    {224, "XF"},
    {225, "INTERFACEHDR"},
    {226, "INTERFACEEND"},
    {229, "MERGEDCELLS"},
    {252, "SST"},
    {253, "LABELSST"},
    {255, "EXTSST"},
    {317, "TABID"},
    {352, "USESELFS"},
    {353, "DSF"},
    {430, "SUPBOOK"},
    {431, "PROT4REV"},
    {432, "CONDFMT"},
    {433, "CF"},
    {434, "DVAL"},
    {439, "REFRESHALL"},
    {440, "HLINK"},
    {444, "PROT4REVPASS"},
    {446, "DV"},
    {512, "DIMENSIONS"},
    {513, "BLANK"},
    {515, "NUMBER"},
    {516, "LABEL"},
    {517, "BOOLERR"},
    {519, "STRING"},
    {520, "ROW"},
    {523, "INDEX"},
    {545, "ARRAY"},
    {549, "DEFAULTROWHEIGHT"},
    {574, "WINDOW2"},
    {638, "RK"},
    {659, "STYLE"},
    {1054, "FORMAT"},
    {2057, "BOF"},
    {2146, "SHEETEXT"},
};

std::string NameOf(u16 id) {
    for (const RecordName& row : recordNames) {
        if (row.id == id) return row.name;
    }
    return "record " + std::to_string(id);
}

class GoldenRecords : public Saving {
  protected:
    std::string Dump() const {
        std::string out;
        constexpr char digits[] = "0123456789ABCDEF";
        for (const WrittenRecord& record : Records()) {
            out += NameOf(record.id) + " " + std::to_string(record.body.size()) + ":";
            for (std::size_t i = 0; i < record.body.size(); ++i) {
                if (i % 2 == 0) out += ' ';
                out += digits[record.body[i] >> 4];
                out += digits[record.body[i] & 15];
            }
            out += '\n';
        }
        return out;
    }
    void Compare(const std::string& name, u8 form) {
        Save(form);
        ExpectGolden(name + (form == 8 ? "-97.txt" : "-95.txt"), Dump());
    }
};

TEST_F(GoldenRecords, OfAFreshBook) {
    for (const u8 form : {u8{8}, u8{7}}) Compare("fresh", form);
}

TEST_F(GoldenRecords, OfABookOfEverything) {
    MakeRichBook();
    for (const u8 form : {u8{8}, u8{7}}) Compare("rich", form);
}

}  // namespace
}  // namespace tally
