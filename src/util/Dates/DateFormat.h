// The printed forms of the date and time values, shared by their stream operators.
#ifndef VYK_SRC_UTIL_DATES_DATEFORMAT_H
#define VYK_SRC_UTIL_DATES_DATEFORMAT_H

#include <locale>
#include <ostream>
#include <sstream>
#include <string>

namespace vyk {

class Date;
class TimeDuration;

namespace detail {

// Each writer puts its text on a scratch stream that has the classic locale, so that a grouping
// locale cannot put separators into years or hours.
void writeDate(std::ostream& text, Date const& date);
void writeTimeDuration(std::ostream& text, TimeDuration const& duration);

// Runs `write` on a scratch stream that carries only the caller's floating-point format (notation,
// precision, forced point, case), then inserts the whole text into `out`. The caller's width, fill
// and adjustment apply to the text as one field, and every other setting of `out` is left as it was.
template <class Write>
std::ostream& writeFormatted(std::ostream& out, Write write) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.flags(out.flags() & (std::ios_base::floatfield | std::ios_base::showpoint | std::ios_base::uppercase));
  text.precision(out.precision());
  write(text);
  return out << text.str();
}

}  // namespace detail
}  // namespace vyk

#endif
