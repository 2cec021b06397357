#include "shell/ui/versionlog.h"

namespace kelvane {

namespace {

constexpr std::string_view crlf = "\r\n";

// Where the run of blanks that starts at `at` ends (`at` itself when there is none).
size_t blanksend(std::string_view text, size_t at)
{
    while (at < text.size() && text[at] == ' ')
        ++at;
    return at;
}

bool crlfat(std::string_view text, size_t at)
{
    return text.substr(at, 2) == crlf;
}

// "<" opens a tag and ">" closes it; every character of a tag, both brackets included, goes.
std::string droptags(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    bool intag = false;
    for (char c : text) {
        if (c == '<')
            intag = true;
        if (!intag)
            out += c;
        else if (c == '>')
            intag = false;
    }
    return out;
}

// One pass over the text: at each place `step` may write what it makes of what stands there and
// return where it stopped reading; where it reads nothing, the character is copied.
template <typename Step>
std::string onepass(std::string_view text, Step step)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const size_t next = step(i, out);
        if (next > i)
            i = next;
        else
            out += text[i++];
    }
    return out;
}

// Every occurrence of `word`, found left to right without overlap, removed.
std::string dropword(std::string_view text, std::string_view word)
{
    return onepass(text, [&](size_t i, std::string&) { return text.substr(i, word.size()) == word ? i + word.size() : i; });
}

// Runs of blanks become one blank.
std::string oneblank(std::string_view text)
{
    return onepass(text, [&](size_t i, std::string& out) {
        const size_t end = blanksend(text, i);
        if (end > i)
            out += ' ';
        return end;
    });
}

// Blanks right before a line end removed (all of a run, as repeated replacing would).
std::string noblankbeforecrlf(std::string_view text)
{
    return onepass(text, [&](size_t i, std::string& out) {
        const size_t end = blanksend(text, i);
        if (!crlfat(text, end))
            out.append(text.substr(i, end - i));
        return end;
    });
}

// Blanks right after a line end removed.
std::string noblankaftercrlf(std::string_view text)
{
    return onepass(text, [&](size_t i, std::string& out) {
        if (!crlfat(text, i))
            return i;
        out.append(crlf);
        return blanksend(text, i + 2);
    });
}

// A run of three or more line ends becomes two.
std::string atmosttwocrlf(std::string_view text)
{
    return onepass(text, [&](size_t i, std::string& out) {
        for (int run = 1; crlfat(text, i); ++run, i += 2)
            if (run <= 2)
                out.append(crlf);
        return i;
    });
}

} // namespace

std::string crlflines(std::string_view raw)
{
    std::string out;
    out.reserve(raw.size() + raw.size() / 16);
    for (size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\n' && (i == 0 || raw[i - 1] != '\r'))
            out += '\r';
        out += raw[i];
    }
    return out;
}

std::string responsebody(std::string_view raw)
{
    std::string text = crlflines(raw);
    const size_t cut = text.find("\r\n\r\n");
    // Counted from 1, the body starts 4 after the header end's place, and that place is 0 when
    // there is none: so the 4th character.
    const size_t from = cut == std::string::npos ? 3 : cut + 4;
    return from >= text.size() ? std::string() : text.substr(from);
}

VersionLog parseversionlog(std::string_view body, std::string_view product, std::string_view running)
{
    std::string text = droptags(body);
    if (const size_t news = text.find("News in"); news != std::string::npos)
        text.erase(0, news);
    text = dropword(text, "&nbsp;");
    text = oneblank(text);
    text = noblankbeforecrlf(text);
    text = noblankaftercrlf(text);
    text = atmosttwocrlf(text);
    while (text.ends_with("\r\n\r\n"))
        text.resize(text.size() - 2);

    VersionLog log;
    const std::string_view first = std::string_view(text).substr(0, text.find(crlf));
    const size_t blank = first.rfind(' ');
    log.latest = std::string(blank == std::string_view::npos ? first : first.substr(blank + 1));
    log.newer = log.latest != running;

    std::string head = std::string(product) + " Version Log File" + std::string(crlf) + std::string(crlf);
    if (log.newer)
        head = "The version currently installed: " + std::string(running) + std::string(crlf) +
               "The version of the latest release: " + log.latest + std::string(crlf) + std::string(crlf) + head;
    log.text = head + text;
    return log;
}

} // namespace kelvane
