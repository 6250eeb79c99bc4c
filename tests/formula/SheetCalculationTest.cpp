#include "formula/SheetCalculation.h"

#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class SheetCalculation : public Sandbox {
  protected:
    static std::string Current() {
        std::string out;
        for (const char* name :
             {"B2", "B3", "C2", "C3", "A1", "A2", "B1", "D2", "D3", "D4", "B4", "C4", "A3"}) {
            if (CellAtName(name)->calcState == CALC_CURRENT) out += std::string(name) + " ";
        }
        return out;
    }
};

TEST_F(SheetCalculation, WorksOutTheStaleCellsOfAnAreaAndNoOthers) {
    for (const char* row : {"1", "2", "3", "4"}) {
        for (const char* column : {"A", "B", "C", "D"}) Enter(std::string(column) + row, "=1+1");
    }
    MarkAllStale();
    CalculateArea(*CurrentSheet(), AreaOf("B2", "C3"));
    EXPECT_EQ(Current(), "B2 B3 C2 C3 ");
    MarkAllStale();
    CalculateArea(*CurrentSheet(), AreaOf("D4", "IV9"));
    EXPECT_EQ(Current(), "D4 ");
    MarkAllStale();
    CalculateArea(*CurrentSheet(), AreaOf("B1", "B4"));
    EXPECT_EQ(Current(), "B2 B3 B1 B4 ");
    MarkAllStale();
    CalculateArea(*CurrentSheet(), AreaOf("A1", "A1"));
    EXPECT_EQ(Current(), "A1 ");
    MarkAllStale();
    CalculateArea(*CurrentSheet(), AreaOf("E1", "F9"));
    CalculateArea(*CurrentSheet(), AreaOf("A5", "F9"));
    EXPECT_EQ(Current(), "");
    // What is current is not worked out again.
    CellAtName("B2")->value = NumberValue(77);
    CellAtName("B2")->calcState = CALC_CURRENT;
    CalculateArea(*CurrentSheet(), AreaOf("A1", "D4"));
    EXPECT_EQ(CellAtName("B2")->value.number, 77);
    EXPECT_EQ(CellAtName("B3")->value.number, 2);
}

}  // namespace
}  // namespace tally
