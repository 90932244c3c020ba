#include "tests/support/allocations.h"

#include "vcam/preload/interpose.h"

namespace {

thread_local std::size_t allocations;

} // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void *,
                                                                          std::size_t),
                                                         void (*onFree)(const volatile void *));

std::size_t allocationCount() {
    [[maybe_unused]] static const int installed = __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void *, std::size_t) { ++allocations; }, [](const volatile void *) {});
    return allocations;
}

#else

extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);
extern "C" void *__libc_realloc(void *memory, std::size_t size);

INTERPOSE(void *, malloc, (std::size_t size)) {
    ++allocations;
    return __libc_malloc(size);
}

INTERPOSE(void *, calloc, (std::size_t number, std::size_t size)) {
    ++allocations;
    return __libc_calloc(number, size);
}

INTERPOSE(void *, realloc, (void *memory, std::size_t size)) {
    ++allocations;
    return __libc_realloc(memory, size);
}

std::size_t allocationCount() {
    return allocations;
}

#endif
