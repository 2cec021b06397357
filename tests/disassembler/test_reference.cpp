// The engine against a plain second transcription of the rules, kept in memory and written
// the slow, obvious way (linear label search, rank by counting), over random images.
#include "randomimages.h"
#include "testutil.h"

#include "core/hexutil.h"


namespace kelvane {
namespace {

struct Reference {
    std::vector<int32_t> image;
    int32_t size = 0;
    std::vector<int32_t> labels{0};

    static std::string last4(int32_t n)
    {
        std::string s = "000" + std::to_string(n);
        return s.substr(s.size() - 4);
    }
    int32_t at(int32_t a) const { return a < static_cast<int32_t>(image.size()) ? image[static_cast<size_t>(a)] : 0; }
    std::string label(int32_t target)
    {
        for (size_t i = 1; i < labels.size(); ++i)
            if (labels[i] == target)
                return last4(static_cast<int32_t>(i));
        labels.push_back(target);
        return last4(static_cast<int32_t>(labels.size() - 1));
    }
    // Mnemonic knowledge written out by hand, independent of the engine's table.
    std::string decode(int32_t addr, bool src, int32_t& len)
    {
        static const char* r[] = {"B", "C", "D", "E", "H", "L", "M", "A"};
        static const char* rp[] = {"B", "D", "H", "SP"};
        static const char* cc[] = {"NZ", "Z", "NC", "C", "PO", "PE", "P", "M"};
        const int op = at(addr);
        const int32_t b1 = at(addr + 1), w = b1 + 256 * at(addr + 2);
        auto byteop = [&](const std::string& t) { len = 2; return t + asmhexbyte(b1) + "H"; };
        auto wordop = [&](const std::string& t) { len = 3; return t + asmhexword(w) + "H"; };
        auto addrop = [&](const std::string& t) { len = 3; return t + "L" + label(w); };
        len = 1;
        if (op == 0x76) return "HLT";
        if (op >= 0x40 && op < 0x80) return std::string("MOV ") + r[(op >> 3) & 7] + "," + r[op & 7];
        if (op >= 0x80 && op < 0xC0) {
            static const char* alu[] = {"ADD ", "ADC ", "SUB ", "SBB ", "ANA ", "XRA ", "ORA ", "CMP "};
            return alu[(op >> 3) & 7] + std::string(r[op & 7]);
        }
        switch (op) {
        case 0x00: return "NOP";
        case 0x02: return "STAX B";
        case 0x12: return "STAX D";
        case 0x0A: return "LDAX B";
        case 0x1A: return "LDAX D";
        case 0x22: return wordop("SHLD ");
        case 0x2A: return wordop("LHLD ");
        case 0x32: return wordop("STA ");
        case 0x3A: return wordop("LDA ");
        case 0x07: return "RLC";
        case 0x0F: return "RRC";
        case 0x17: return "RAL";
        case 0x1F: return "RAR";
        case 0x27: return "DAA";
        case 0x2F: return "CMA";
        case 0x37: return "STC";
        case 0x3F: return "CMC";
        case 0x20: return "RIM";
        case 0x30: return "SIM";
        case 0xC3: return addrop("JMP ");
        case 0xCD: return addrop("CALL ");
        case 0xC9: return "RET";
        case 0xE9: return "PCHL";
        case 0xF9: return "SPHL";
        case 0xE3: return "XTHL";
        case 0xEB: return "XCHG";
        case 0xF3: return "DI";
        case 0xFB: return "EI";
        case 0xDB: return byteop("IN ");
        case 0xD3: return byteop("OUT ");
        case 0xF5: return "PUSH PSW";
        case 0xF1: return "POP PSW";
        default: break;
        }
        if (op < 0x40) {
            const int lo = op & 7, mid = (op >> 3) & 7;
            if (lo == 4) return std::string("INR ") + r[mid];
            if (lo == 5) return std::string("DCR ") + r[mid];
            if (lo == 6) return byteop(std::string("MVI ") + r[mid] + ",");
            if ((op & 15) == 1) return wordop(std::string("LXI ") + rp[op >> 4] + ",");
            if ((op & 15) == 3) return std::string("INX ") + rp[op >> 4];
            if ((op & 15) == 9) return std::string("DAD ") + rp[op >> 4];
            if ((op & 15) == 11) return std::string("DCX ") + rp[op >> 4];
        } else {
            const int lo = op & 7, mid = (op >> 3) & 7;
            static const char* imm[] = {"ADI ", "ACI ", "SUI ", "SBI ", "ANI ", "XRI ", "ORI ", "CPI "};
            if (lo == 0) return std::string("R") + cc[mid];
            if (lo == 2) return addrop(std::string("J") + cc[mid] + " ");
            if (lo == 4) return addrop(std::string("C") + cc[mid] + " ");
            if (lo == 6) return byteop(imm[mid]);
            if (lo == 7) return "RST " + std::to_string(mid);
            if ((op & 15) == 1 && op != 0xF1) return std::string("POP ") + rp[(op >> 4) & 3];
            if ((op & 15) == 5 && op != 0xF5) return std::string("PUSH ") + rp[(op >> 4) & 3];
        }
        return src ? ".DB " + asmhexbyte(op) + "H ;UNRECOGNIZED" : "UNRECOGNIZED";
    }

    std::string run(bool src)
    {
        labels.assign(1, 0);
        std::vector<std::string> rows;
        rows.push_back(src ? ";-------------------------------------------------" : "--------------------------------------------------");
        rows.push_back(src ? ";8085 DISASSEMBLER LISTING" : "8085 DISASSEMBLER LISTING");
        rows.push_back(src ? ";Label  Instruction" : "Line   Addr Opcodes     Label   Instruction");
        rows.push_back(rows[0]);
        rows.push_back("");
        int32_t addr = 0, line = 0;
        do {
            ++line;
            int32_t len = 1;
            const std::string text = decode(addr, src, len);
            std::string codes;
            for (int k = 0; k < len; ++k)
                codes += (k ? " " : "") + hexbyte(at(addr + k));
            codes.resize(12, ' ');
            rows.push_back(last4(line) + "   " + hexword(addr) + " " + codes + std::string(8, ' ') + text);
            addr += len;
        } while (addr < size);

        const int32_t n = static_cast<int32_t>(labels.size()) - 1;
        std::vector<int32_t> sa(static_cast<size_t>(n) + 1);
        std::vector<std::string> st(static_cast<size_t>(n) + 1);
        std::vector<int32_t> fl(static_cast<size_t>(n) + 1);
        for (int32_t i = 1; i <= n; ++i) {
            int32_t rank = 1;
            for (int32_t k = 1; k <= n; ++k)
                if (labels[static_cast<size_t>(k)] < labels[static_cast<size_t>(i)])
                    ++rank;
            sa[static_cast<size_t>(rank)] = labels[static_cast<size_t>(i)];
            st[static_cast<size_t>(rank)] = "L" + last4(i) + ":";
            fl[static_cast<size_t>(rank)] = 65535;
        }
        if (src && n > 0) {
            int32_t p = 1;
            for (size_t k = 5; k < rows.size() && p <= n; ++k) {
                const int32_t a = parsehexword(rows[k].substr(7, 4));
                if (a == sa[static_cast<size_t>(p)])
                    ++p;
                else if (a > sa[static_cast<size_t>(p)]) {
                    fl[static_cast<size_t>(p)] = 0;
                    ++p;
                }
            }
            for (; p <= n; ++p)
                fl[static_cast<size_t>(p)] = 0;
        }
        std::string out;
        for (int k = 0; k < 5; ++k)
            out += rows[static_cast<size_t>(k)] + "\n";
        if (src && n > 0) {
            bool any = false;
            for (int32_t j = 1; j <= n; ++j)
                if (fl[static_cast<size_t>(j)] == 0) {
                    out += st[static_cast<size_t>(j)] + "  .EQU " + asmhexword(sa[static_cast<size_t>(j)]) + "H\n";
                    any = true;
                }
            if (any)
                out += "\n";
        }
        int32_t p = 1;
        for (size_t k = 5; k < rows.size(); ++k) {
            std::string row = rows[k];
            if (n > 0) {
                const int32_t a = parsehexword(row.substr(7, 4));
                if (a == sa[static_cast<size_t>(p)]) {
                    row.replace(24, 6, st[static_cast<size_t>(p)]);
                    if (p < n)
                        ++p;
                }
                if (p < n && a > sa[static_cast<size_t>(p)])
                    ++p;
            }
            out += (src ? row.substr(24) : row) + "\n";
        }
        if (n > 0) {
            out += src ? "\n;--------------------------------------------\n;LIST OF LABELS\n"
                         ";Sorted by address:      Sorted by name:\n;--------------------------------------------\n\n"
                       : "\n---------------------------------------------\nLIST OF LABELS\n"
                         "Sorted by address:      Sorted by name:\n---------------------------------------------\n\n";
            for (int32_t j = 1; j <= n; ++j)
                out += (src ? ";" : "") + st[static_cast<size_t>(j)] + "  " + hexword(sa[static_cast<size_t>(j)]) +
                       "            L" + last4(j) + ":  " + hexword(labels[static_cast<size_t>(j)]) + "\n";
        }
        return out;
    }
};

TEST(DasmReference, RandomImagesMatchInBothForms)
{
    std::mt19937 rng(test::randomseed(20251122));
    test::WorkFolder dir;
    int withequ = 0, withrowlabel = 0;
    for (int round = 0; round < test::randomrounds(120); ++round) {
        const size_t size = test::randomsize(rng);
        const bool jumpheavy = rng() % 2 == 0;
        const std::vector<uint8_t> img = test::randomimage(rng, size, jumpheavy);
        Reference ref;
        ref.image.assign(img.begin(), img.end());
        ref.size = static_cast<int32_t>(size);
        for (bool src : {false, true}) {
            const std::string got = test::disassemblebytes(img, src, dir.path());
            const std::string want = ref.run(src);
            withequ += want.find(":  .EQU ") != std::string::npos;
            withrowlabel += !src && want.find(":  J") != std::string::npos;
            if (got != want) {
                size_t at = 0;
                while (at < got.size() && at < want.size() && got[at] == want[at])
                    ++at;
                FAIL() << "round " << round << " size " << size << (src ? " source" : " listing")
                       << " differs at " << at << ":\n got: " << got.substr(at > 80 ? at - 80 : 0, 160)
                       << "\nwant: " << want.substr(at > 80 ? at - 80 : 0, 160);
            }
        }
    }
    // The images reach the interesting cases: labels on rows and labels that need an .EQU.
    EXPECT_GT(withequ, 20);
    EXPECT_GT(withrowlabel, 20);
}

} // namespace
} // namespace kelvane
