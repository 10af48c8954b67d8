#include "service-mediainfo/core/normalize.h"

#include "core/log.h"

namespace core {
namespace {

// Division by -1 is spelled out because the smallest number has no negative: it stays itself.
std::int64_t Remainder(std::int64_t dividend, std::int64_t divisor) { return divisor == -1 ? 0 : dividend % divisor; }

std::int64_t Quotient(std::int64_t dividend, std::int64_t divisor) {
  if (divisor == -1) return static_cast<std::int64_t>(0 - static_cast<std::uint64_t>(dividend));
  return dividend / divisor;
}

std::int64_t GreatestCommonDivisor(std::int64_t a, std::int64_t b) {
  while (b != 0) {
    const std::int64_t rest = Remainder(a, b);
    a = b;
    b = rest;
  }
  return a;
}

}  // namespace

std::uint32_t Normalize(Rational& rational) {
  if (rational.numerator == 0 || rational.denominator == 0) {
    CoreLogPrint("core", kCoreLogFatal, "ration den zero! file[%s] line[%d]", "core::Normalize", 99);
    return 0;
  }
  // Callers know the divisor as a 32-bit number; a larger one loses its upper half.
  const std::int64_t divisor =
      static_cast<std::int32_t>(GreatestCommonDivisor(rational.numerator, rational.denominator));
  if (divisor == 0) return 0;
  rational.numerator = Quotient(rational.numerator, divisor);
  rational.denominator = Quotient(rational.denominator, divisor);
  return 0;
}

}  // namespace core
