// Times out of text, in English whatever the locale.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string_view>

namespace keystrand {

// Reads text as strptime of POSIX does: %a %A %b %B %h names in any case, whole or by their first three letters; %d %e
// %H %I %M %S %m %y %Y %j numbers; %p; %D "%m/%d/%y", %F "%Y-%m-%d", %R "%H:%M", %T "%H:%M:%S"; %%; blanks for any
// blanks. Of two-digit years those from 69 on are of 19xx. Fields that the format does not name stay as they are.
// How many characters were read; nothing when text and format part.
std::optional<std::size_t> parseTime(std::string_view text, std::string_view format, std::tm& time);

}  // namespace keystrand
