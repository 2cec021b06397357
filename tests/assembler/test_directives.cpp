#include "asmtesthelp.h"

#include <gtest/gtest.h>

namespace {

using asmtest::outcome;

struct DirectiveCase {
    const char* source; // assembled whole; the last line is checked
    const char* result; // code text, or "E:" and the message
    int32_t nextaddress; // location counter after the source, -1 to skip
};

TEST(Directives, ListsAndReservations)
{
    const DirectiveCase cases[] = {
        {"\t.DB \"HELLO\",0", "48 45 4C 4C 4F 00", 6},
        {"\tDB 'HELLO', 0", "48 45 4C 4C 4F 00", 6},
        {"\t.DEFB 1, 2 ,3", "01 02 03", 3},
        {"\tDEFB 'a','B'", "61 42", 2},
        {"\t.DB 255,-128,-1", "FF 80 FF", 3},
        {"\t.DB 256", "E:Invalid argument of the .DB directive.", 1},
        {"\t.DB -129", "E:Invalid argument of the .DB directive.", 1},
        {"\t.DB 1,NOWHERE,3", "E:Invalid argument of the .DB directive.", 3},
        {"\t.DB \"A B\"", "41 20 42", 3},
        {"\t.DB ' '", "20", 1},
        {"\t.DB 'it''s'", "69 74 27 27 73", 5},
        {"\t.DB ''", "E:Invalid argument of the .DB directive.", 1},
        {"\t.DB ','", "E:Invalid argument of the .DB directive.", 2},
        {"\t.DB ';'", "E:Invalid argument of the .DB directive.", 1},
        {"\t.DB ,5", "E:Invalid argument of the .DB directive.", 2},
        {"\t.DB 'A'+1,$,$+1", "42 00 01", 3},
        {"\t.DB 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15", "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F", 16},
        {"\t.DB 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16", "E:Invalid argument of the .DB directive.", 0},
        {"\t.DB \"0123456789ABCDEFG\"", "E:Invalid argument of the .DB directive.", 0},
        {"\t.DB", "E:Unrecognized instruction.", 0},
        {"\t.DB A", "E:Unrecognized instruction.", 0},
        {"A EQU 1\nB EQU 2\n\t.DB A,B", "01 02", 2},
        {"\t.DW 1234H", "34 12", 2},
        {"\t.DW -1", "FF FF", 2},
        {"\tDW 65535,-32768", "FF FF 00 80", 4},
        {"\t.DEFW \"AB\"", "41 00 42 00", 4},
        {"\tDEFW 65536", "E:Invalid argument of the .DW directive.", 2},
        {"\t.DW 1,2,3,4,5,6,7,8", "01 00 02 00 03 00 04 00 05 00 06 00 07 00 08 00", 16},
        {"\t.DW 1,2,3,4,5,6,7,8,9", "E:Invalid argument of the .DW directive.", 0},
        {"\t.DW FWD\nFWD:", "02 00", -1},
        {"\t.ORG 100H", "", 0x100},
        {"\tORG 0FFFFH", "", 0xFFFF},
        {"\t.ORG 10000H", "E:Invalid argument of the .ORG directive.", 0},
        {"\t.ORG -1", "E:Invalid argument of the .ORG directive.", 0},
        {"\t.ORG FWD\nFWD:", "E:Invalid argument of the .ORG directive.", -1},
        {"\t.DS 0", "", 0},
        {"\t.DS 10", "", 10},
        {"\tDEFS 0FFFFH", "", 0xFFFF},
        {"\t.DS 0FFFFH\n\tDS 1", "E:Invalid argument of the .DS directive.", 0xFFFF},
        {"\t.DS -1", "E:Invalid argument of the .DS directive.", 0},
        {"\t.DEFS FWD\nFWD:", "E:Invalid argument of the .DS directive.", -1},
        {"\t.END", "", 0},
        {"\tEND 5", "E:Unrecognized instruction.", 0},
        {"\t.END\n\tNOP", "00", 1},
    };
    for (const auto& c : cases) {
        kelvane::Assembler a;
        a.assembletext(c.source, 1000);
        const int last = a.linecount;
        std::string got = outcome(a, last);
        // Sources ending in a label line check the line before it.
        if (std::string(c.source).back() == ':')
            got = outcome(a, last - 1);
        EXPECT_EQ(got, c.result) << "source: [" << c.source << "]";
        if (c.nextaddress >= 0) {
            // The address after the source: pass 1's counter once the last line acted.
            kelvane::Assembler b;
            b.assembletext(std::string(c.source) + "\nEND_:", 1000);
            EXPECT_EQ(b.labelvalue[static_cast<size_t>(b.labelcount)], c.nextaddress) << "source: [" << c.source << "]";
        }
    }
}

TEST(Directives, ForwardValuesInOrgAndDsFailInPassOne)
{
    kelvane::Assembler a;
    a.assembletext("\t.ORG FWD\n\t.DS FWD\n\t.DW FWD\nFWD:\tNOP\n", 1000);
    EXPECT_EQ(outcome(a, 1), "E:Invalid argument of the .ORG directive.");
    EXPECT_EQ(outcome(a, 2), "E:Invalid argument of the .DS directive.");
    EXPECT_EQ(outcome(a, 3), "02 00"); // lists take no values in pass 1
    EXPECT_EQ(a.asmaddress[4], 2);
}

} // namespace
