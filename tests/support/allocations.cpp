#include "tests/support/allocations.h"

#include "vcam/preload/interpose.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void *,
                                                                          std::size_t),
                                                         void (*onFree)(const volatile void *));
#else
extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);
extern "C" void *__libc_realloc(void *memory, std::size_t size);
#endif

namespace {

thread_local bool isCounting;
thread_local std::size_t allocations;

void count() {
    allocations += isCounting ? 1 : 0;
}

} // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

AllocationCount::AllocationCount() {
    [[maybe_unused]] static const int installed = __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void *, std::size_t) { count(); }, [](const volatile void *) {});
    allocations = 0;
    isCounting = true;
}

#else

INTERPOSE(void *, malloc, (std::size_t size)) {
    count();
    return __libc_malloc(size);
}

INTERPOSE(void *, calloc, (std::size_t number, std::size_t size)) {
    count();
    return __libc_calloc(number, size);
}

INTERPOSE(void *, realloc, (void *memory, std::size_t size)) {
    count();
    return __libc_realloc(memory, size);
}

AllocationCount::AllocationCount() {
    allocations = 0;
    isCounting = true;
}

#endif

AllocationCount::~AllocationCount() {
    isCounting = false;
}

std::size_t AllocationCount::get() const {
    return allocations;
}
