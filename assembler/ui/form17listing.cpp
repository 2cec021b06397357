#include "assembler/ui/form17listing.h"

namespace kelvane {

void Form17Listing::resetlisting()
{
    rowcount = 0;
    rowlabel.assign(1, std::string());
    rowtext.assign(1, std::string());
    rowlabelled.assign(1, 0);
    labelserial = 0;
    for (int i = 0; i < firstrows; ++i)
        addrow({});
}

std::string Form17Listing::newlabel()
{
    ++labelserial;
    const std::string digits = "000" + std::to_string(labelserial);
    return "L" + digits.substr(digits.size() - 4);
}

void Form17Listing::addrow(std::string_view text)
{
    rowlabel.push_back(newlabel());
    rowtext.emplace_back(text);
    rowlabelled.push_back(0);
    ++rowcount;
}

int32_t Form17Listing::lasttextrow() const
{
    int32_t row = rowcount;
    while (row > 0 && rowtext[static_cast<size_t>(row)].empty())
        --row;
    return row;
}

void Form17Listing::deleterow(int32_t row)
{
    if (row < 1 || row > rowcount)
        return;
    if (rowcount == 1) {
        rowtext[1].clear();
        return;
    }
    const auto at = static_cast<std::ptrdiff_t>(row);
    rowlabel.erase(rowlabel.begin() + at);
    rowtext.erase(rowtext.begin() + at);
    rowlabelled.erase(rowlabelled.begin() + at);
    --rowcount;
}

void Form17Listing::insertrow(int32_t row)
{
    if (row < 1 || row > rowcount)
        return;
    const auto at = static_cast<std::ptrdiff_t>(row);
    rowlabel.insert(rowlabel.begin() + at, newlabel());
    rowtext.insert(rowtext.begin() + at, std::string());
    rowlabelled.insert(rowlabelled.begin() + at, uint16_t{0});
    ++rowcount;
}

int32_t Form17Listing::findlabel(std::string_view label) const
{
    for (int32_t row = 1; row <= rowcount; ++row)
        if (rowlabel[static_cast<size_t>(row)] == label)
            return row;
    return 0;
}

std::string Form17Listing::sourcetext() const
{
    const int32_t last = lasttextrow();
    std::string out;
    for (int32_t row = 1; row <= last; ++row) {
        const auto i = static_cast<size_t>(row);
        if (rowlabelled[i] != 0)
            out += rowlabel[i] + ":\t" + rowtext[i] + "\n";
        else if (!rowtext[i].empty())
            out += "\t" + rowtext[i] + "\n";
    }
    if (last > 0 && rowtext[static_cast<size_t>(last)] != ".END")
        out += "\t.END\n";
    return out;
}

} // namespace kelvane
