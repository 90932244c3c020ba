// How the preloaded library defines a call of the C library.
//
// Each definition has a C++ name of its own and only at the assembler's level the call's: so it
// does not collide with what headers declare, and a call and its 64-bit twin can both be defined.
// Nothing in the library may use an interposed name for itself; what stands behind is reached by
// system call or by the next definition.
#pragma once

#include <dlfcn.h>

#include <atomic>

// Defines the C library's `name`.
#define INTERPOSE(result, name, parameters)                                                        \
    extern "C" [[gnu::visibility("default")]] result vcam_##name parameters __asm__(#name);        \
    result vcam_##name parameters

// The definition of `name` that this library hides.
template <typename Function>
Function nextDefinition(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// The same for calls that are made all the time: looked up once.
template <typename Function>
class NextDefinition {
public:
    constexpr explicit NextDefinition(const char *name) : name_(name) {}
    Function get() {
        Function found = found_.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = nextDefinition<Function>(name_);
            found_.store(found, std::memory_order_relaxed);
        }
        return found;
    }

private:
    const char *name_;
    std::atomic<Function> found_ = nullptr;
};

// The next definition of `name`, which is of this type.
#define NEXT(type, name)                                                                           \
    ([] {                                                                                          \
        constinit static NextDefinition<type> found(#name);                                        \
        return found.get();                                                                        \
    }())
