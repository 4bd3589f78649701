// The test program's own global operator new, which every test shares:
// it counts the allocations of each thread, and fails one of them on
// request, so that tests can see how many allocations a routine makes and
// what it does when one of them fails.
#pragma once

namespace testing_allocations {

// Allocations made by this thread so far.
long Count();
// Makes the n-th allocation of this thread from now on fail (0: none).
void FailNth(long n);
// Whether an allocation set to fail was reached since ForgetFailure.
bool FailureMet();
void ForgetFailure();

}  // namespace testing_allocations
