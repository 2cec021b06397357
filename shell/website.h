// The team's web site: the name the About text shows, and the site the update check asks for the
// version log (its host and the name its status lines show).
#pragma once

namespace kelvane {

inline constexpr const char* websitename = "kelvane.example.org";

} // namespace kelvane
