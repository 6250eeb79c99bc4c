#pragma once
// The cores of the annuity functions. Money paid out is negative; `type` is 1 for payments at the start of
// a period and 0 at its end. A result outside the domain is not finite.

namespace tally {

// The payment that takes `pv` to `fv` in `nper` periods. Not finite for a rate of 0.
double PaymentCore(double rate, double nper, double pv, double fv, double type);
double FutureValueCore(double rate, double nper, double pmt, double pv, double type);
// The fall of the future value over period `per` of the loan that PaymentCore pays off.
double InterestCore(double rate, double per, double nper, double pv, double fv, double type);

}  // namespace tally
