#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local long t_count = 0;
thread_local long t_failAt = 0;  // the allocation to fail, counting down; 0: none
thread_local bool t_failed = false;

}  // namespace

namespace testing_allocations {

long Count() { return t_count; }
void FailNth(long n) { t_failAt = n; }
bool FailureMet() { return t_failed; }
void ForgetFailure() { t_failed = false; }

}  // namespace testing_allocations

void* operator new(std::size_t size) {
    ++t_count;
    if (t_failAt > 0 && --t_failAt == 0) {
        t_failed = true;
        throw std::bad_alloc();
    }
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
// Every form is replaced, so that all memory of the program is malloc's and
// every delete matches its new (the sanitizers check the pairs).
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
#pragma GCC diagnostic pop
