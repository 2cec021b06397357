// The update check's reading of an answer, on plain bytes: the body cut from the raw answer and
// the version log page made into the text that Form60 shows, with the latest version it names.
// Every step is one linear pass, so any bytes of any length come out in time and never hang.
#pragma once
#include <string>
#include <string_view>

namespace kelvane {

// Every LF that no CR precedes becomes CR LF, so that pages with LF line ends read alike.
std::string crlflines(std::string_view raw);

// The body of a raw answer: line ends made CR LF, then all up to and including the first
// CR LF CR LF dropped. Without one the search gives 0 and the body starts at the 4th character.
std::string responsebody(std::string_view raw);

struct VersionLog {
    std::string text;   // what the log box shows, lines ended by CR LF
    std::string latest; // what stands behind the last blank of the log's first line
    bool newer = false; // latest is not the running version (older and garbage count too)
};

// Parses the log page: tags dropped, all before the first "News in" cut away, "&nbsp;" removed,
// runs of blanks made one, blanks at line ends and line starts removed, runs of more than two
// line ends made two, trailing empty lines cut. The first line names the latest version. The text
// is headed by "<product> Version Log File" and, when the versions differ, by both versions.
VersionLog parseversionlog(std::string_view body, std::string_view product, std::string_view running);

} // namespace kelvane
