// Private to the platform: the formatter of log and trace lines.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace qor::host {

// vsnprintf for room of at least 1: formats into room octets, NUL included, and returns the length
// that the whole text has; a negative value, and an empty text, on error.
int Format(char *out, size_t room, const char *fmt, va_list ap);

}  // namespace qor::host
