#pragma once

namespace tally {

// Where the kept dumps lie in the checkout.
const char* GoldenFolder();

}  // namespace tally
