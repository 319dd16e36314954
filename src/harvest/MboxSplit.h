#pragma once
// Splitting an mbox file into its messages. A separator is a "From " line at
// the start of the file, or after an empty line when it ends in a year (as
// "From sender date" does) or the next line is a header field: writers that
// forget to escape "From " at the start of a body line leave such lines in
// messages, and they do not split them.
#include <cstddef>
#include <functional>
#include <string_view>

namespace harvest {

// Where the next separator line starts, searching from `from` (a position
// that is not itself the start of a line counts only if `from` is 0 and the
// text starts with "From "). npos when there is none.
std::size_t nextMboxSeparator(std::string_view all, std::size_t from);

// Calls each(message) for every message, in order, without the separator
// line; stops early when each returns false. Text before the first separator
// (a message whose separator was lost) is a message too, unless blank.
void splitMbox(std::string_view all, const std::function<bool(std::string_view)>& each);

}  // namespace harvest
