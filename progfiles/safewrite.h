// Saving a file without losing the old one: the new contents go to a temporary file in the
// same folder, which is then renamed over the old file; a failed write leaves the old file.
#pragma once
#include <string>
#include <string_view>

namespace kelvane {

// Writes data to path through a temporary file and a rename. On failure returns false, puts a
// plain message into *error (when given), removes the temporary file and leaves path as it was.
bool writefilesafely(const std::string& path, std::string_view data, std::string* error = nullptr);

} // namespace kelvane
