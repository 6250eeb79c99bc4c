#pragma once
// The cores of the annuity functions. Money paid out is negative; `type` is 1 for payments at the start of
// a period and 0 at its end. A result outside the domain is not finite.

#include "base/Base.h"

namespace tally {

// The payment that takes `pv` to `fv` in `nper` periods.
double PaymentCore(double rate, double nper, double pv, double fv, double type);
double FutureValueCore(double rate, double nper, double pmt, double pv, double type);
// The interest in the payment of period `per` of the loan that PaymentCore pays off; the first payment at the
// start of a period holds none.
double InterestCore(double rate, double per, double nper, double pv, double fv, double type);

struct PaymentSums {
    double interest = 0;
    double principal = 0;
};
// The two parts of the payments of a range of periods, for a loan that is paid off at a rate above 0.
PaymentSums SumPayments(double rate, double nper, double pv, i32 first, i32 last, double type);

}  // namespace tally
