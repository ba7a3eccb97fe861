// The missing-value constants of the running system, their characters and their stream output.
#include "vyk/util/DpsNumeric.h"

#include <ostream>

#include "vyk/util/FloatRepresentation.h"

namespace vyk {
namespace dps_numeric {
namespace {

FloatRepresentation const SYSTEM_KIND(FloatRepresentation::Unix);

double letter(int n) {
  return SYSTEM_KIND.missingLetter(n).toDouble();
}

}  // namespace

double const MISSING = SYSTEM_KIND.missingDot().toDouble();
double const MISSING__ = SYSTEM_KIND.missingUnderscore().toDouble();
double const MISSING_A = letter(1), MISSING_B = letter(2), MISSING_C = letter(3), MISSING_D = letter(4),
             MISSING_E = letter(5), MISSING_F = letter(6), MISSING_G = letter(7), MISSING_H = letter(8),
             MISSING_I = letter(9), MISSING_J = letter(10), MISSING_K = letter(11), MISSING_L = letter(12),
             MISSING_M = letter(13), MISSING_N = letter(14), MISSING_O = letter(15), MISSING_P = letter(16),
             MISSING_Q = letter(17), MISSING_R = letter(18), MISSING_S = letter(19), MISSING_T = letter(20),
             MISSING_U = letter(21), MISSING_V = letter(22), MISSING_W = letter(23), MISSING_X = letter(24),
             MISSING_Y = letter(25), MISSING_Z = letter(26);

char missingChar(double value) {
  return FloatRepresentation::unixGetMissingChar(FloatBits::fromDouble(value));
}

double getMissing(char c) {
  if (c >= 'A' && c <= 'Z') return letter(c - 'A' + 1);
  if (c >= 'a' && c <= 'z') return letter(c - 'a' + 1);
  return c == '_' ? MISSING__ : MISSING;
}

std::ostream& operator<<(std::ostream& out, printable const& p) {
  char const c = missingChar(p.value);
  if (c == ' ') return out << p.value;
  out << '.';
  if (c != '.') out << c;
  return out;
}

}  // namespace dps_numeric
}  // namespace vyk
