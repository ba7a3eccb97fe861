// The constants of the date and time values, all from the first and last day of the range. Each is
// a constant expression, so it is in place when the library is loaded, before any code that could
// read it runs, whatever the order of the other initialisers.
#include "vyk/util/Date.h"
#include "vyk/util/Datetime.h"
#include "vyk/util/MillisTime.h"

namespace vyk {

constexpr Date Date::MIN(1582, 1, 1);
constexpr Date Date::MAX(20000, 12, 31);
constexpr Date Date::INVALID(static_cast<int>(Date::MIN) - 1);  // out of range: the marker
constexpr Date Date::DPS_EPOCH(1960, 1, 1);
constexpr Date Date::POSIX_EPOCH(1970, 1, 1);

constexpr Datetime Datetime::MIN(Datetime::Unchecked{}, static_cast<int>(Date::MIN) * 86400.0);
constexpr Datetime Datetime::INVALID(Datetime::Unchecked{}, Datetime::MIN.value_ - 1.0);
constexpr Datetime Datetime::DPS_EPOCH(Datetime::Unchecked{}, static_cast<int>(Date::DPS_EPOCH) * 86400.0);
constexpr Datetime Datetime::POSIX_EPOCH(Datetime::Unchecked{},
                                         static_cast<int>(Date::POSIX_EPOCH) * 86400.0);
// The greatest double below the first second after Date::MAX; its step there is 2^-13 seconds.
constexpr Datetime Datetime::MAX(Datetime::Unchecked{},
                                 (static_cast<int>(Date::MAX) + 1) * 86400.0 - 0x1p-13);

constexpr MillisTime MillisTime::DPS_MIN(static_cast<int>(Date::MIN) * 86400000LL);
constexpr MillisTime MillisTime::DPS_MAX((static_cast<int>(Date::MAX) + 1LL) * 86400000LL);
constexpr MillisTime MillisTime::MAX(9223372036854775807LL);

// The literal bounds that the constructors test agree with the constants.
static_assert(static_cast<int>(Date::MIN) == detail::kFirstDay, "first day");
static_assert(static_cast<int>(Date::MAX) == detail::kLastDay, "last day");
static_assert(static_cast<int>(Date::INVALID) == detail::kFirstDay - 1, "marker");
static_assert(static_cast<double>(Datetime::MIN) == detail::kFirstSecond, "first second");
static_assert(static_cast<double>(Datetime::INVALID) == detail::kInvalidSecond, "invalid second");
static_assert(static_cast<double>(Datetime::MAX) < detail::kEndSecond, "last second");

}  // namespace vyk
