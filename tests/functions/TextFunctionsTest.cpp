#include <chrono>
#include <string>
#include <vector>

#include "functions/FormulaFile.h"
#include "functions/Handlers.h"
#include "functions/TextSearch.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class TextFunctions : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

class NumberFormats : public FormulaFile {};

TEST_F(NumberFormats, ShowWhatTwoOtherProgramsShow) { Check("number_formats.txt"); }

TEST_F(TextFunctions, CodesGoThroughThePageOfTheBook) {
    Check({{"=CHAR(128)", "\xE2\x82\xAC"},
           {"=CHAR(150)", "\xE2\x80\x93"},
           {"=CHAR(159)", "\xC5\xB8"},
           {"=CHAR(127)", "\x7F"},
           {"=CHAR(160)", "\xC2\xA0"},
           {"=CHAR(233)", "\xC3\xA9"},
           {"=CODE(\"\xE2\x82\xAC\")", "128"},
           {"=CODE(\"\xE2\x80\x93\")", "150"},
           {"=CODE(\"\xC3\xA9\")", "233"},
           {"=CODE(CHAR(129))", "129"},
           {"=CODE(\"\xC2\x80\")", "128"},
           {"=CODE(\"\xC2\x9F\")", "159"},
           {"=CODE(\"\xC2\xA0\")", "160"},
           {"=CODE(CHAR(141))", "141"}});
    for (int code = 1; code < 256; ++code)
        EXPECT_EQ(Eval("=CODE(CHAR(" + std::to_string(code) + "))"), std::to_string(code));
    CurrentWorkbook()->codePage = 1251;
    EXPECT_EQ(Eval("=CHAR(128)"), "\xD0\x82");
    EXPECT_EQ(Eval("=CODE(\"\xD0\x82\")"), "128");
    CurrentWorkbook()->codePage = 936;
    EXPECT_EQ(Eval("=CODE(\"\xE4\xB8\xAD\")"), "54992");
    EXPECT_EQ(Eval("=CODE(CHAR(150))"), "150");
}

TEST_F(TextFunctions, ValueReadsWhatAnEntryReads) {
    Check({{"=VALUE(\" $5 \")", "5"},
           {"=VALUE(\" (5) \")", "-5"},
           {"=VALUE(\"(5\")", "#VALUE!"},
           {"=VALUE(\"($5)\")", "#VALUE!"},
           {"=VALUE(\"$x\")", "#VALUE!"},
           {"=VALUE(\" 8% \")", "0.08"},
           {"=VALUE(\"1 1/2\")", "1.5"},
           {"=VALUE(\"1,234\")", "1234"},
           {"=VALUE(\"1,23\")", "#VALUE!"},
           {"=VALUE(\"1e3\")", "1000"},
           {"=VALUE(\"12:00\")", "0.5"},
           {"=VALUE(\"2000-1-31\")", "36556"},
           {"=VALUE(\"TRUE\")", "#VALUE!"},
           {"=VALUE(\"\")", "#VALUE!"}});
}

TEST_F(TextFunctions, CodesAndComparison) {
    Enter("B1", "text");
    Enter("B2", "12");
    Check({{"=LEN(\"abc\")", "3"},
           {"=LEN(\"\")", "0"},
           {"=LEN(12.5)", "4"},
           {"=LEN(#REF!)", "#REF!"},
           {"=CHAR(65.9)", "A"},
           {"=CHAR(0)", "#VALUE!"},
           {"=CHAR(256)", "#VALUE!"},
           {"=CHAR(-1E+300)", "#VALUE!"},
           {"=CODE(CHAR(200))", "200"},
           {"=CODE(\"Abc\")", "65"},
           {"=CODE(\"\")", "#VALUE!"},
           {"=T(\"a\")", "a"},
           {"=T(1)", ""},
           {"=T(#N/A)", ""},
           {"=T(B1)", "text"},
           {"=T(B2)", ""},
           {"=T(B1:B2)", "text"},
           {"=EXACT(\"a\",\"A\")", "FALSE"},
           {"=EXACT(\"a\",\"a\")", "TRUE"},
           {"=EXACT(12,\"12\")", "TRUE"},
           {"=CONCATENATE(\"a\",1,TRUE,B1)", "a1TRUEtext"},
           {"=CONCATENATE(\"a\",1/0,#N/A)", "#DIV/0!"},
           {"=CONCATENATE(B9)", ""},
           {"=LOWER(\"ABC 1\xC3\x84\")", "abc 1\xC3\xA4"},
           {"=UPPER(\"abc 1\xC3\xA4\")", "ABC 1\xC3\x84"}});
}

TEST_F(TextFunctions, PartsOfTexts) {
    Check({{"=LEFT(\"abc\")", "a"},
           {"=LEFT(\"abc\",2.9)", "ab"},
           {"=LEFT(\"abc\",0)", ""},
           {"=LEFT(\"abc\",-1)", "#VALUE!"},
           {"=LEFT(\"abc\",1E+300)", "abc"},
           {"=RIGHT(\"abc\")", "c"},
           {"=RIGHT(\"abc\",2)", "bc"},
           {"=RIGHT(\"abc\",9)", "abc"},
           {"=RIGHT(\"abc\",-1)", "#VALUE!"},
           {"=MID(\"abc\",5,2)", ""},
           {"=MID(\"abc\",0,2)", "#VALUE!"},
           {"=MID(\"abc\",2,-1)", "#VALUE!"},
           {"=MID(\"abc\",2,9)", "bc"},
           {"=MID(\"abc\",2,1)", "b"},
           {"=MID(\"abc\",1E+300,1E+300)", ""},
           {"=MID(\"abc\",1,3)", "abc"},
           {"=SUMPRODUCT(LEN(LEFT({\"abc\",\"de\"},{1,2})))", "3"}});
}

TEST_F(TextFunctions, FindsAndSearches) {
    Check({{"=FIND(\"\",\"abc\")", "0"},
           {"=SEARCH(\"\",\"abc\")", "0"},
           {"=FIND(\"\",\"abc\",4)", "#VALUE!"},
           {"=FIND(\"a\",\"abc\",4)", "#VALUE!"},
           {"=FIND(\"a\",\"abc\",0)", "#VALUE!"},
           {"=FIND(\"a\",\"\")", "#VALUE!"},
           {"=FIND(\"c\",\"abc\")", "3"},
           {"=FIND(\"C\",\"abc\")", "#VALUE!"},
           {"=FIND(\"a\",\"aba\",2.9)", "3"},
           {"=FIND(\"?\",\"ab?\")", "3"},
           {"=FIND(REPT(\"ab\",20),\"a\"&REPT(\"ab\",30))", "2"},
           {"=FIND(REPT(\"ab\",20)&\"c\",REPT(\"ab\",30)&\"c\")", "21"},
           {"=FIND(REPT(\"ab\",20)&\"d\",REPT(\"ab\",30)&\"c\")", "#VALUE!"},
           {"=SEARCH(\"b?d\",\"abcd\")", "2"},
           {"=SEARCH(\"B\",\"abcd\")", "2"},
           {"=SEARCH(\"b*d\",\"abcd\")", "2"},
           {"=SEARCH(\"*d\",\"abcd\",2)", "2"},
           {"=SEARCH(\"b*x\",\"abcd\")", "#VALUE!"},
           {"=SEARCH(\"~?\",\"ab?\")", "3"},
           {"=SEARCH(\"~*\",\"ab*\")", "3"},
           {"=SEARCH(\"a\",\"abc\",4)", "#VALUE!"},
           {"=SEARCH(\"a?\",\"aba\",2)", "#VALUE!"},
           {"=SEARCH(\"a*a\",\"xabax\")", "2"}});
}

TEST_F(TextFunctions, TildeAtTheEndTakesTheAppendedStar) {
    Check({{"=SEARCH(\"a~\",\"ba*\")", "2"},
           {"=SEARCH(\"a~\",\"ba*c\")", "#VALUE!"},
           {"=SEARCH(\"a~\",\"a~\")", "#VALUE!"},
           {"=SEARCH(\"a*b~\",\"xacab*\")", "2"},
           {"=SEARCH(\"a*b~\",\"xacab*c\")", "#VALUE!"},
           {"=SEARCH(\"a~~\",\"ba~c\")", "2"},
           {"=SEARCH(\"~a\",\"b~a\")", "2"}});
}

TEST_F(TextFunctions, ReplacesAndSubstitutes) {
    Check({{"=REPLACE(\"abcdef\",2,3,\"X\")", "aXef"},
           {"=REPLACE(\"abc\",9,1,\"X\")", "abcX"},
           {"=REPLACE(\"abc\",2,9,\"X\")", "aX"},
           {"=REPLACE(\"abc\",2,0,\"X\")", "aXbc"},
           {"=REPLACE(\"abc\",3,1,\"X\")", "abX"},
           {"=REPLACE(\"abc\",0,1,\"X\")", "#VALUE!"},
           {"=REPLACE(\"abc\",1,-1,\"X\")", "#VALUE!"},
           {"=REPLACE(\"abc\",0,1,1/0)", "#DIV/0!"},
           {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\",2)", "abba"},
           {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\")", "bbbbbb"},
           {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\",0)", "#VALUE!"},
           {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\",-3)", "#VALUE!"},
           {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\",)", "#VALUE!"},
           {"=SUBSTITUTE(\"aaa\",\"\",\"bb\",0)", "#VALUE!"},
           {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\",4)", "aaa"},
           {"=SUBSTITUTE(\"aaa\",\"aa\",\"b\")", "ba"},
           {"=SUBSTITUTE(\"aaaa\",\"aa\",\"b\",2)", "aab"},
           {"=SUBSTITUTE(\"abc\",\"\",\"x\")", "abc"},
           {"=SUBSTITUTE(\"abc\",\"B\",\"x\")", "abc"},
           {"=SUBSTITUTE(\"a-b-c\",\"-\",\"\")", "abc"}});
}

TEST_F(TextFunctions, RepeatsTrimsAndCleans) {
    Check({{"=REPT(\"x\",0)", ""},
           {"=REPT(\"x\",-5)", ""},
           {"=REPT(\"xy\",2.9)", "xyxy"},
           {"=LEN(REPT(\"x\",100000))", "100000"},
           {"=REPT(\"\",1E+300)", ""},
           {"=TRIM(\"  a   b c  \")", "a b c"},
           {"=TRIM(\"   \")", ""},
           {"=TRIM(\"a\"&CHAR(9)&\" b\")", "a\t b"},
           {"=CLEAN(\"a\"&CHAR(10)&\"b\"&CHAR(127)&\"c\"&CHAR(129))", "abc"},
           {"=PROPER(\"o'neil 2nd\")", "O'Neil 2Nd"},
           {"=PROPER(\"aBC dEF\")", "Abc Def"}});
}

TEST_F(TextFunctions, NumbersFromAndToTexts) {
    Check({{"=VALUE(\"12.5\")", "12.5"},
           {"=VALUE(\"x\")", "#VALUE!"},
           {"=VALUE(\"50%\")", "0.5"},
           {"=VALUE(3)", "3"},
           {"=TEXT(1234.5,\"#,##0.00\")", "1,234.50"},
           {"=TEXT(\"x\",\"0\")", "x"},
           {"=TEXT(\"1899-12-29 08:00\",\"yyyy-mm-dd hh:mm\")", "1899-12-29 08:00"},
           {"=TEXT(\"x\",\"0;0;0;<@>\")", "<x>"},
           {"=TEXT(\"x\",\";;;\")", ""},
           {"=TEXT(\"x\",\"@@\")", "xx"},
           {"=TEXT(\"1/2/2003\",\"yyyy\")", "2003"},
           {"=TEXT(1/0,\"0\")", "#DIV/0!"},
           {"=TEXT(\"2\",\"0.0\")", "2.0"},
           {"=FIXED(1234.567)", "1,234.57"},
           {"=FIXED(1234.567,1)", "1,234.6"},
           {"=FIXED(1234.567,1,TRUE)", "1234.6"},
           {"=FIXED(1234.567,-2)", "1,200"},
           {"=FIXED(1234.567,0)", "1,235"},
           {"=FIXED(-1234.567,-400)", "0"},
           {"=LEN(FIXED(1,400))", "402"},
           {"=FIXED(1,1E+9)", "#VALUE!"},
           {"=FIXED(\"x\")", "#VALUE!"},
           {"=DOLLAR(-1.5)", "($1.50)"},
           {"=DOLLAR(1234.567)", "$1,234.57"},
           {"=DOLLAR(1234.567,0)", "$1,235"},
           {"=DOLLAR(-1234.567,-2)", "($1,200)"}});
    Region("de-DE");
    EXPECT_EQ(Eval("=LEFT(DOLLAR(-3/2);1)&RIGHT(DOLLAR(-3/2);5)"), "(1,50)");
}

TEST_F(TextFunctions, TextsBeyondTheBoundAreNotAvailable) {
    Check({{"=REPT(\"x\",1E+9)", "#N/A"},
           {"=REPT(\"x\",1E+300)", "#N/A"},
           {"=REPT(REPT(\"x\",100000),100000)", "#N/A"},
           {"=SUBSTITUTE(REPT(\"x\",100000),\"x\",REPT(\"y\",100000))", "#N/A"},
           {"=LEN(TEXT(1,REPT(\"0\",60000)))", "60000"},
           {"=TEXT(1,REPT(\"0\",70000))", "#VALUE!"}});
    // One evaluation may make only so much text, however it is divided.
    std::string sum = "=LEN(REPT(\"x\",16000000))";
    for (int i = 1; i < 2; ++i) sum += "+LEN(REPT(\"x\",16000000))";
    EXPECT_EQ(Eval(sum), "32000000");
    EXPECT_EQ(Eval(sum + "+LEN(REPT(\"x\",16000000))"), "#N/A");
}

TEST_F(TextFunctions, WithoutMemoryTheResultIsNotAvailable) {
    struct Call {
        const char* name;
        FunctionHandler handler;
        std::vector<std::u16string> texts;
        std::vector<double> numbers;  // behind the texts
    };
    const std::u16string lengthy(40, u'a');
    const Call calls[] = {
        {"CHAR", CallChar, {}, {65}},
        {"CONCATENATE", CallConcatenate, {u"ab", u"cd"}, {12}},
        {"UPPER", CallUpper, {u"ab"}, {}},
        {"LEFT", CallLeft, {u"abc"}, {2}},
        {"MID", CallMid, {u"abc"}, {2, 1}},
        {"REPT", CallRept, {u"abc"}, {5}},
        {"TRIM", CallTrim, {u" a  b "}, {}},
        {"FIND", CallFind, {lengthy, u"b" + lengthy}, {}},
        {"SEARCH", CallSearch, {u"a?", u"baa"}, {}},
        {"SUBSTITUTE", CallSubstitute, {u"b" + lengthy, lengthy, u"cd"}, {}},
        {"SUBSTITUTE 2", CallSubstitute, {u"abab", u"a", u"cd"}, {2}},
        {"REPLACE", CallReplace, {u"abc"}, {2, 1}},
        {"FIXED", CallFixed, {}, {1234.5, 30}},
        {"DOLLAR", CallDollar, {}, {-1234.5, 30}},
    };
    for (const Call& call : calls) {
        u64 failures = 0;
        for (u64 n = 1; n < 100; ++n) {
            test::FailingAllocator memory;
            Value arguments[MAX_ARGUMENTS];
            int count = 0;
            for (const auto& one : call.texts) arguments[count++] = TextValue(one);
            for (const double number : call.numbers) arguments[count++] = NumberValue(number);
            memory.FailAt(n);
            Value result;
            call.handler(arguments, result, {});
            memory.StopFailing();
            const bool failed = memory.HasFailed();
            if (failed) {
                ++failures;
                EXPECT_TRUE(result.type == VT_ERROR && result.error == ERR_NA) << call.name << " " << n;
            } else {
                EXPECT_NE(result.type, VT_ERROR) << call.name;
            }
            FreeValue(result);
            for (Value& argument : arguments) ClearValue(argument);
            EXPECT_EQ(memory.LiveBlocks(), 0u) << call.name << " " << n;
            if (!failed) break;
        }
        EXPECT_GT(failures, 0u) << call.name;
    }
}

TEST_F(TextFunctions, SearchesEndOnLongTexts) {
    const auto begin = std::chrono::steady_clock::now();
    const std::u16string within(8000000, u'a');
    const std::u16string what = std::u16string(4000000, u'a') + u"b";
    TextNeedle needle;
    ASSERT_TRUE(PrepareNeedle(what, needle));
    EXPECT_EQ(FindNeedle(needle, within, 0), WideView::npos);
    std::size_t place = 0;
    EXPECT_EQ(SearchPattern(what, within, 0, place), SEARCH_TOO_LONG);
    EXPECT_EQ(SearchPattern(u"*a*a*a*a*a*b", within, 0, place), SEARCH_NONE);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

}  // namespace
}  // namespace tally
