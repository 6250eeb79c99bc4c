#include "support/Sandbox.h"

namespace tally {
namespace {

class Financial : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

TEST_F(Financial, PaymentsAndValues) {
    Check({{"=ROUND(PMT(0.08/12,10,10000),2)", "-1037.03"},
           {"=ROUND(PMT(0.08/12,10,10000,0,1),2)", "-1030.16"},
           {"=ROUND(PMT(0.08/12,10,10000,0,-1.5),2)", "-1030.16"},
           {"=ROUND(PMT(0.08/12,10,10000,0,0.9),2)", "-1037.03"},
           {"=ROUND(PMT(0.06/12,216,0,50000),2)", "-129.08"},
           {"=PMT(0.1,2)", "0"},
           {"=PMT(0,10,1000)", "#NUM!"},
           {"=PMT(\"x\",10,1000)", "#VALUE!"},
           {"=ROUND(FV(0.06/12,10,-200,-500,1),2)", "2581.4"},
           {"=FV(0,10,-200,-500)", "2500"},
           {"=FV(1E+300,10,-1)", "#NUM!"},
           {"=ROUND(PV(0.08/12,240,500),2)", "-59777.15"},
           {"=PV(0,10,-200,-500)", "2500"},
           {"=ROUND(PV(0.1,2,0,-121),9)", "100"},
           {"=ROUND(NPER(0.01,-100,-1000,10000,1),4)", "59.6739"},
           {"=ROUND(NPER(0.01,-100,-1000,10000),4)", "60.0821"},
           {"=NPER(0,-100,1000)", "10"},
           {"=NPER(0,0,1000)", "#NUM!"},
           {"=NPER(0.1,-1,1000)", "#NUM!"},
           {"=PV(#N/A,1/0,1)", "#N/A"}});
}

TEST_F(Financial, PartsOfAPayment) {
    // The part that IPMT gives is the fall of the future value; the two parts make the payment.
    Check({{"=ROUND(IPMT(0.1,1,3,100),6)", "-30.21148"},
           {"=ROUND(FV(0.1,0,PMT(0.1,3,100),100)-FV(0.1,1,PMT(0.1,3,100),100),6)", "-30.21148"},
           {"=ROUND(PPMT(0.1,1,3,100),6)", "-10"},
           {"=ROUND(IPMT(0.1,2,3,100,5,1)+PPMT(0.1,2,3,100,5,1)-PMT(0.1,3,100,5,1),9)", "0"},
           {"=IPMT(0.1,0.5,3,100)", "#NUM!"},
           {"=IPMT(0.1,4,3,100)", "#NUM!"},
           {"=PPMT(0.1,4,3,100)", "#NUM!"},
           {"=PPMT(0,1,3,100)", "#NUM!"},
           {"=ROUND(ISPMT(0.1/12,1,36,8000000),2)", "-64814.81"},
           {"=ISPMT(0.1,3,3,100)", "0"},
           {"=ISPMT(0.1,3,0,100)", "#NUM!"}});
}

TEST_F(Financial, RatesByBisection) {
    Check({{"=ROUND(RATE(48,-200,8000),5)", "0.0077"},
           {"=ROUND(RATE(10,0,-100,200),6)", "-0.066967"},
           {"=ROUND(RATE(10,0,-200,100),6)", "0.071773"},
           {"=RATE(0,10,-5,5)", "0"},
           {"=RATE(0,10,5,5)", "#NUM!"},
           {"=RATE(10,-10,50,50)", "0"},
           {"=RATE(10,0,100)", "0"},
           {"=RATE(10,10,-100,100)", "-0.1"},
           {"=RATE(1,-150,100,0,0,0.5)", "0.5"},
           {"=ABS(RATE(1,-150,100)-0.5)<2E-7", "TRUE"},
           {"=ABS(RATE(1,-150,100,0,0,0)-0.5)<2E-7", "TRUE"},
           {"=ABS(RATE(1,-50,100)+0.5)<2E-7", "TRUE"},
           {"=RATE(\"x\",1,1)", "#VALUE!"}});
}

TEST_F(Financial, RateOfAFlatSeriesHasNoBracket) {
    Check({{"=RATE(10,0,0,5)", "#NUM!"}, {"=RATE(10,100,100,100)", "#NUM!"}});
}

TEST_F(Financial, NetPresentValue) {
    Enter("B1", "100");
    Enter("B2", "text");
    Enter("B3", "TRUE");
    Enter("B5", "121");
    Enter("C1", "=1/0");
    Check({{"=ROUND(NPV(0.1,-10000,3000,4200,6800),2)", "1188.44"},
           {"=ROUND(NPV(0.1,110,\"121\"),9)", "200"},
           {"=ROUND(NPV(0.1,B1:B5),6)", "190.909091"},
           {"=NPV(0,{1,2;3,\"x\"})", "6"},
           {"=NPV(0,TRUE)", "1"},
           {"=NPV(-1,5)", "#DIV/0!"},
           {"=NPV(-1,\"x\")", "#VALUE!"},
           {"=NPV(0.1,B1,C1)", "#DIV/0!"},
           {"=NPV(0.1,{1,#N/A})", "#N/A"}});
}

TEST_F(Financial, InternalRate) {
    const char* flow[] = {"-70000", "12000", "15000", "18000", "21000", "26000"};
    for (int i = 0; i < 6; ++i) Enter("B" + std::to_string(i + 1), flow[i]);
    Enter("C1", "-100");
    Enter("C2", "none");
    Enter("C4", "110");
    Enter("D1", "=1/0");
    Check({{"=ROUND(IRR(B1:B6),6)", "0.086631"},
           {"=ROUND(IRR(B1:B5),6)", "-0.021245"},
           {"=ROUND(IRR(B1:B3,-0.3),5)", "-0.44351"},
           {"=IRR(B1:B3,-0.1)", "#NUM!"},
           {"=ROUND(IRR(C1:C4),9)", "0.1"},
           {"=ROUND(IRR({-100,110}),9)", "0.1"},
           {"=IRR(5)", "#NUM!"},
           {"=IRR(\"x\")", "#VALUE!"},
           {"=IRR(E1:E9)", "#NUM!"},
           {"=IRR(D1:D2)", "#VALUE!"},
           {"=IRR({-100,#N/A})", "#VALUE!"},
           {"=IRR(B1:B6,\"x\")", "#VALUE!"}});
}

TEST_F(Financial, InternalRateOfGainsOnlyFails) {
    Check({{"=IRR({100,100,100})", "#NUM!"}, {"=IRR({100,200,300},0.5)", "#NUM!"}, {"=IRR({5})", "#NUM!"}});
}

TEST_F(Financial, DatedPayments) {
    const char* values[] = {"-10000", "2750", "4250", "3250", "2750"};
    const char* dates[] = {"=DATE(2008,1,1)", "=DATE(2008,3,1)", "=DATE(2008,10,30)", "=DATE(2009,2,15)",
                           "=DATE(2009,4,1)+0.5"};
    for (int i = 0; i < 5; ++i) {
        Enter("B" + std::to_string(i + 1), values[i]);
        Enter("C" + std::to_string(i + 1), dates[i]);
    }
    Check({{"=ROUND(XIRR(B1:B5,C1:C5),6)", "0.373363"},
           {"=ROUND(XIRR(B1:B5,C1:C5,0.3),6)", "0.373363"},
           {"=ROUND(XNPV(0.09,B1:B5,C1:C5),2)", "2086.65"},
           {"=XIRR(B1:B5,C1:C4)", "#NUM!"},
           {"=XIRR({-1},{5})", "#NUM!"},
           {"=XIRR(B2:B5,C2:C5)", "#NUM!"},
           {"=XIRR({-1,-2},{5,6})", "#NUM!"},
           {"=XIRR({-1,#N/A},{5,6})", "#N/A"},
           {"=XNPV(\"x\",B1:B5,C1:C5)", "#VALUE!"}});
}

TEST_F(Financial, ADateAheadOfTheFirstFails) {
    Check({{"=XIRR({-100,110,5},{400,800,399})", "#NUM!"},
           {"=XNPV(0.1,{-100,110},{400,399})", "#NUM!"},
           {"=ROUND(XIRR({-100,110},{400.9,400.1}),3)", "#NUM!"},
           {"=ROUND(XNPV(0.1,{-100,110},{400.9,400.1}),3)", "10"}});
}

TEST_F(Financial, ModifiedInternalRate) {
    Check({{"=ROUND(MIRR({-120000,39000,30000,21000,37000,46000},0.1,0.12),4)", "0.1261"},
           {"=ROUND(MIRR({-120000,39000,30000,21000},0.1,0.12),4)", "-0.048"},
           {"=MIRR(5,0.1,0.12)", "#DIV/0!"},
           {"=MIRR({1,2},0.1,0.12)", "#DIV/0!"},
           {"=MIRR({-1,-2},0.1,0.12)", "#DIV/0!"},
           {"=MIRR({-1,#N/A},0.1,0.12)", "#VALUE!"}});
}

TEST_F(Financial, StraightLineAndYearsDigits) {
    Check({{"=SLN(30000,7500,10)", "2250"},
           {"=SLN(1,1,0)", "#DIV/0!"},
           {"=ROUND(SYD(30000,7500,10,1),2)", "4090.91"},
           {"=ROUND(SYD(30000,7500,10,10),2)", "409.09"},
           {"=SYD(30000,7500,10,11)", "#NUM!"},
           {"=SYD(30000,7500,0,1)", "#NUM!"}});
}

TEST_F(Financial, FixedDecliningBalanceRoundsItsRate) {
    // 1 - 0.1 ^ (1 / 5) = 0.36904... is taken as 0.369.
    Check({{"=ROUND(DB(1000,100,5,1,7),6)", "215.25"},
           {"=ROUND(DB(1000000,100000,6,1,7),2)", "186083.33"},
           {"=ROUND(DB(1000000,100000,6,2,7),2)", "259639.42"},
           {"=ROUND(DB(1000000,100000,6,6,7),2)", "55841.76"},
           {"=ROUND(DB(1000000,100000,6,7,7),2)", "15845.1"},
           {"=ROUND(DB(1000,100,5,2.9),3)", "232.839"},
           {"=DB(1000,100,5,5)", "0"},
           {"=DB(1000,100,5,9)", "0"},
           {"=DB(1000,100,5,6,-2147483648)>6E+17", "TRUE"},
           {"=DB(1000,100,0,1)", "#NUM!"},
           {"=DB(0,100,5,1)", "#NUM!"},
           {"=DB(1000,100,5,2000000000,7)", "0"},
           {"=ISNUMBER(DB(1000,-1000,1,2000000001,7))", "TRUE"}});
}

TEST_F(Financial, DoubleDecliningBalance) {
    Check({{"=ROUND(DDB(2400,300,10,1),2)", "480"},
           {"=ROUND(DDB(2400,300,10,2,1.5),2)", "306"},
           {"=ROUND(DDB(2400,300,10,10),2)", "22.12"},
           {"=ROUND(DDB(2400,300,3650,1),2)", "1.32"},
           {"=DDB(2400,300,0,1)", "#NUM!"},
           {"=DDB(2400,300,10,2000000000)", "0"}});
}

TEST_F(Financial, DepreciationBelowTheSalvageIsNegative) {
    Check({{"=DDB(100,200,5,1)", "-100"}, {"=DDB(100,200,5,2)", "0"}});
}

TEST_F(Financial, VariableDecliningBalance) {
    Check({{"=ROUND(VDB(2400,300,3650,0,1),2)", "1.32"},
           {"=ROUND(VDB(2400,300,120,0,1),2)", "40"},
           {"=ROUND(VDB(2400,300,10,0,1),2)", "480"},
           {"=ROUND(VDB(2400,300,120,6,18),2)", "396.31"},
           {"=ROUND(VDB(2400,300,10,0,0.875,1.5),2)", "315"},
           {"=ROUND(VDB(2400,300,10,0.5,1.5),2)", "432"},
           {"=ROUND(VDB(2400,300,10,0.25,0.75),2)", "240"},
           {"=ROUND(VDB(2400,300,10,9,10),2)", "210"},
           {"=ROUND(VDB(2400,300,10,9,10,2,TRUE),2)", "22.12"},
           {"=VDB(2400,300,10,3,3)", "0"},
           {"=VDB(2400,300,10,4,3)", "#NUM!"},
           {"=VDB(2400,300,0,0,1)", "#NUM!"},
           {"=VDB(2400,300,10,-1,1)", "#NUM!"},
           {"=VDB(2400,300,10,0,1E+9,2,TRUE)", "2100"},
           {"=VDB(2400,300,1E+9,0,1E+9)", "#NUM!"}});
}

}  // namespace
}  // namespace tally
